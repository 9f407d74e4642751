#pragma once

#include "xmldsig/Result.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

// The signed document, read back for what the result does not hold: excerpts
// from the file a few hundred bytes at a time (or from the bytes already read
// from standard input), and KeyInfo's certificates.
class DocumentText {
public:
    static DocumentText ofFile(std::filesystem::path path);
    static DocumentText ofBytes(std::string bytes);

    // The start tag of the element at `offset`, at most kMaxExcerptBytes
    // ("..." marks a cut); empty when no start tag begins there.
    std::string elementStartAt(std::uint32_t offset) const;

    // The certificates the KeyInfo of the signature at `index` carries (none
    // when it cannot be read): who claims to have signed, when no key
    // verified the value.
    std::vector<xmldsig::Certificate> keyInfoCertificates(int index) const;

    static constexpr size_t kMaxExcerptBytes = 240;

private:
    std::string window(std::uint32_t offset, size_t size) const;

    std::filesystem::path m_path;
    std::string m_bytes;
    bool m_inMemory = false;
};
