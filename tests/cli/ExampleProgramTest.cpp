#include "TestSupport.h"

#include <gtest/gtest.h>

using namespace test_support;

// The API example verifies every bundled example and names its signer.
TEST(ExampleProgram, VerifiesTheExamplesAndNamesTheSigners) {
    const std::filesystem::path examples = examplesDir();
    const std::string secret = readFile(examples / "keys" / "hmac-secret.txt");
    std::string command = shellQuote(XMLDSIG_EXAMPLE_PATH) + " --hmac-key " + shellQuote(secret);
    for (const char* name :
         {"enveloped-rsa-x509.xml", "exc-c14n-ecdsa.xml", "hmac-sha256.xml", "detached-external.xml"})
        command += " " + shellQuote((examples / name).string());
    const ProcessResult r = runProcess(command);
    EXPECT_EQ(r.exitCode, 0) << r.out << r.err;
    EXPECT_NE(r.out.find(
                  "enveloped-rsa-x509.xml signature 0: VALID, rsa-sha256 by O=xmldsig examples, CN=Example RSA Signer"),
              std::string::npos)
        << r.out;
    EXPECT_NE(r.out.find("hmac-sha256.xml signature 0: VALID, hmac-sha256 by HMAC secret"), std::string::npos) << r.out;
    EXPECT_NE(
        r.out.find(
            "  signed: "
            "/{http://schemas.xmlsoap.org/soap/envelope/}Envelope/{http://schemas.xmlsoap.org/soap/envelope/}Body[1]"),
        std::string::npos)
        << r.out;

    const ProcessResult untrusted = runProcess(shellQuote(XMLDSIG_EXAMPLE_PATH) + " --trust " +
                                               shellQuote((examples / "keys" / "rsa-signer.pem").string()) + " " +
                                               shellQuote((examples / "exc-c14n-ecdsa.xml").string()));
    EXPECT_EQ(untrusted.exitCode, 1) << untrusted.out;
    EXPECT_NE(untrusted.out.find("INVALID: signer not trusted"), std::string::npos) << untrusted.out;
}
