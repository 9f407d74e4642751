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
// The bytes with the lowest bit of one byte inverted.
DataBuffer flipBit(DataBuffer bytes, size_t byte);

// A scratch directory in which the openssl command makes keys and
// signatures.
class OpensslWorkspace {
public:
    std::filesystem::path path(const std::string& name) const { return m_dir.path() / name; }
    std::string quoted(const std::string& name) const { return test_support::shellQuote(path(name).string()); }
    // Runs "openssl <args>" in the directory; false (with a test failure
    // that shows stderr) when it exits non-zero.
    bool run(const std::string& args) const;
    // Makes name.pem with "openssl genpkey <genArgs>" and its public key as
    // name.pub.pem and name.pub.der.
    bool makeKey(const std::string& name, const std::string& genArgs) const;
    void write(const std::string& name, std::string_view bytes) const;
    DataBuffer read(const std::string& name) const;

private:
    test_support::TempDir m_dir;
};

} // namespace crypto_test
