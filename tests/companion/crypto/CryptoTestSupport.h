#pragma once

#include "TestSupport.h"
#include "companion/text/DataBuffer.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace crypto_test {

std::string hexOf(const DataBuffer& bytes);
DataBuffer bufferOf(std::string_view bytes);
DataBuffer fromHex(std::string_view hex);

// A scratch directory in which the openssl command makes keys and
// signatures.
class OpensslWorkspace {
public:
    std::filesystem::path path(const std::string& name) const { return m_dir.path() / name; }
    std::string quoted(const std::string& name) const { return test_support::shellQuote(path(name).string()); }
    // Runs "openssl <args>" in the directory; false (with a test failure
    // that shows stderr) when it exits non-zero.
    bool run(const std::string& args) const;
    void write(const std::string& name, std::string_view bytes) const;
    DataBuffer read(const std::string& name) const;

private:
    test_support::TempDir m_dir;
};

} // namespace crypto_test
