#pragma once

#include "xmldsig/Export.h"

#include "xmldsig/Result.h"
#include "xmldsig/Settings.h"

#include <cstddef>
#include <filesystem>
#include <memory>
#include <span>
#include <string_view>

namespace xmldsig {

class VerifierEngine;

// Verifies document after document with one set of settings. Keeps its
// engine between documents; one object per thread.
class XMLDSIG_API Verifier {
public:
    explicit Verifier(Settings settings);
    ~Verifier();
    Verifier(Verifier&&) noexcept;
    Verifier& operator=(Verifier&&) noexcept;

    Result verify(std::span<const std::byte> document);
    Result verify(std::string_view document);
    // A regular file (a folder, FIFO or device is file_unreadable), or
    // standard input when the path is "-"; external references are also
    // looked up in the file's folder.
    Result verifyFile(const std::filesystem::path& path);

private:
    std::unique_ptr<VerifierEngine> m_engine;
};

// One document with a verifier of its own.
XMLDSIG_API Result verify(std::span<const std::byte> document, const Settings& settings);
XMLDSIG_API Result verify(std::string_view document, const Settings& settings);
XMLDSIG_API Result verifyFile(const std::filesystem::path& path, const Settings& settings);

} // namespace xmldsig
