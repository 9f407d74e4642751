#include "TestSupport.h"

#include "xmldsig/xmldsig.h"

#include <gtest/gtest.h>

#include <thread>

using namespace test_support;

namespace {

xmldsig::Settings withHmacSecret() {
    xmldsig::Settings s;
    EXPECT_TRUE(s.setHmacKey(readFile(examplesDir() / "keys/hmac-secret.txt")));
    return s;
}

} // namespace

// The code of every other bad input is checked through the Python module,
// which calls these same functions.
TEST(VerifierApi, BadInputIsAnErrorCodeWithAMessage) {
    xmldsig::Settings s;
    EXPECT_EQ(s.setHmacKey("zz", "hex").code, xmldsig::Errc::bad_key);
    const xmldsig::Status time = s.setVerificationTime("yesterday");
    EXPECT_EQ(time.code, xmldsig::Errc::bad_option);
    EXPECT_EQ(time.message, "not a time: yesterday");
    s.selectIndex(3);
    const xmldsig::Result r = xmldsig::verifyFile(examplesDir() / "hmac-sha256.xml", s);
    EXPECT_EQ(r.status.code, xmldsig::Errc::no_such_signature);
    EXPECT_FALSE(r.valid());
    EXPECT_NE(r.status.message.find("no signature at index 3"), std::string::npos);
}

TEST(VerifierApi, BytesAndFileGiveTheSameResult) {
    const xmldsig::Settings s = withHmacSecret();
    const std::string text = readFile(examplesDir() / "exc-c14n-ecdsa.xml");
    for (const xmldsig::Result& r : {xmldsig::verify(text, s), xmldsig::verify(std::as_bytes(std::span(text)), s),
                                     xmldsig::verifyFile(examplesDir() / "exc-c14n-ecdsa.xml", s)}) {
        ASSERT_TRUE(r.valid()) << r.status.message;
        const xmldsig::SignatureResult& sig = r.signatures.at(0);
        EXPECT_EQ(sig.signer->keySource, "certificate in KeyInfo");
        EXPECT_EQ(sig.signer->keyType, "ec");
        EXPECT_EQ(sig.trust.status, xmldsig::Trust::Status::NotChecked);
        ASSERT_EQ(sig.references.size(), 1u);
        EXPECT_EQ(
            sig.references[0].path,
            "/{http://schemas.xmlsoap.org/soap/envelope/}Envelope/{http://schemas.xmlsoap.org/soap/envelope/}Body[1]");
        EXPECT_TRUE(sig.references[0].matched);
        EXPECT_NE(sig.logText.find("VerifySignature"), std::string::npos);
        EXPECT_TRUE(sig.logJson.empty());
    }
}

// A copy shares what was loaded until one side changes; changing the copy
// leaves the original as it was.
TEST(VerifierApi, CopiesChangeIndependently) {
    const xmldsig::Settings original = withHmacSecret();
    xmldsig::Settings copy = original;
    copy.setHmacKey("wrong");
    copy.setLogJson(true);
    const std::filesystem::path doc = examplesDir() / "hmac-sha256.xml";
    EXPECT_TRUE(xmldsig::verifyFile(doc, original).valid());
    const xmldsig::Result r = xmldsig::verifyFile(doc, copy);
    ASSERT_EQ(r.signatures.size(), 1u);
    EXPECT_FALSE(r.signatures[0].valid);
    EXPECT_EQ(r.signatures[0].reason, "the signature value does not verify");
    EXPECT_EQ(r.signatures[0].logJson.front(), '[');
}

// One settings object, four threads each with its own verifier.
TEST(VerifierApi, SharedSettingsOnFourThreads) {
    xmldsig::Settings s = withHmacSecret();
    ASSERT_TRUE(s.addTrustAnchors((examplesDir() / "keys/rsa-signer.pem").string()));
    const std::vector<std::string> docs = {"enveloped-rsa-x509.xml", "exc-c14n-ecdsa.xml", "hmac-sha256.xml",
                                           "detached-external.xml"};
    auto verdicts = [&] {
        xmldsig::Verifier verifier(s);
        std::string out;
        for (int round = 0; round < 5; ++round)
            for (const std::string& doc : docs)
                out += verifier.verifyFile(examplesDir() / doc).valid() ? '1' : '0';
        return out;
    };
    const std::string serial = verdicts();
    EXPECT_EQ(serial.substr(0, 4), "1001"); // the RSA signer is the anchor
    std::vector<std::string> results(4);
    std::vector<std::thread> threads;
    for (std::string& r : results)
        threads.emplace_back([&r, &verdicts] { r = verdicts(); });
    for (std::thread& t : threads)
        t.join();
    for (const std::string& r : results)
        EXPECT_EQ(r, serial);
}
