#include "TestSupport.h"

#include <gtest/gtest.h>

namespace {

using namespace test_support;

// `xmldsig certs` prints KeyInfo's certificates as openssl writes PEM;
// nothing for a signature without any, and exit 2 past the signatures.
TEST(CertsCommand, PrintsKeyInfoCertificatesAsPem) {
    const std::filesystem::path examples = examplesDir();
    const ProcessResult rsa = runTool("certs " + shellQuote((examples / "enveloped-rsa-x509.xml").string()));
    EXPECT_EQ(rsa.exitCode, 0) << rsa.err;
    EXPECT_EQ(rsa.out, readFile(examples / "keys/rsa-signer.pem"));
    const std::string hmac = shellQuote((examples / "hmac-sha256.xml").string());
    EXPECT_EQ(runTool("certs --selector 3 " + hmac).exitCode, 2);
    ProcessResult none = runTool("certs " + hmac);
    EXPECT_EQ(none.exitCode, 0);
    EXPECT_TRUE(none.out.empty());
}

} // namespace
