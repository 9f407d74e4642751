#include "CryptoTestSupport.h"

#include "companion/text/StringBuffer.h"

#include <gtest/gtest.h>

namespace crypto_test {

std::string hexOf(const DataBuffer& bytes) {
    StringBuffer out;
    bytes.encodeDB("hex_lower", out);
    return std::string(out.view());
}

DataBuffer bufferOf(std::string_view bytes) {
    DataBuffer out;
    out.append(bytes);
    return out;
}

DataBuffer fromHex(std::string_view hex) {
    DataBuffer out;
    EXPECT_TRUE(out.appendEncoded(hex, "hex")) << hex;
    return out;
}

DataBuffer flipBit(DataBuffer bytes, size_t byte) {
    bytes.getDataRw()[byte] ^= 0x01;
    return bytes;
}

bool OpensslWorkspace::makeKey(const std::string& name, const std::string& genArgs) const {
    return run("genpkey " + genArgs + " -out " + name + ".pem") &&
           run("pkey -in " + name + ".pem -pubout -out " + name + ".pub.pem") &&
           run("pkey -in " + name + ".pem -pubout -outform DER -out " + name + ".pub.der");
}

bool OpensslWorkspace::run(const std::string& args) const {
    const std::string command = "cd " + test_support::shellQuote(m_dir.path().string()) + " && openssl " + args;
    const test_support::ProcessResult result = test_support::runProcess(command);
    EXPECT_EQ(result.exitCode, 0) << command << "\n" << result.err;
    return result.exitCode == 0;
}

void OpensslWorkspace::write(const std::string& name, std::string_view bytes) const {
    test_support::writeFile(path(name), std::string(bytes));
}

DataBuffer OpensslWorkspace::read(const std::string& name) const {
    return bufferOf(test_support::readFile(path(name)));
}

} // namespace crypto_test
