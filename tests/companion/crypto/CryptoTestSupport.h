#pragma once

#include "TestSupport.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace crypto_test {

// A scratch directory in which the openssl command makes keys and
// signatures.
class OpensslWorkspace {
public:
    std::filesystem::path path(const std::string& name) const { return m_dir.path() / name; }
    // Runs "openssl <args>" in the directory; false (with a test failure
    // that shows stderr) when it exits non-zero.
    bool run(const std::string& args) const { return test_support::runOpenssl(m_dir.path(), args).exitCode == 0; }
    // Makes name.pem with "openssl genpkey <genArgs>" and its public key as
    // name.pub.pem and name.pub.der.
    bool makeKey(const std::string& name, const std::string& genArgs) const {
        return run("genpkey " + genArgs + " -out " + name + ".pem") &&
               run("pkey -in " + name + ".pem -pubout -out " + name + ".pub.pem") &&
               run("pkey -in " + name + ".pem -pubout -outform DER -out " + name + ".pub.der");
    }
    void write(const std::string& name, std::string_view bytes) const {
        test_support::writeFile(path(name), std::string(bytes));
    }
    DataBuffer read(const std::string& name) const {
        return test_support::bufferOf(test_support::readFile(path(name)));
    }

private:
    test_support::TempDir m_dir;
};

} // namespace crypto_test
