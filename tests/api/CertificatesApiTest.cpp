#include "xmldsig/Certificates.h"
#include "xmldsig/Verifier.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

const std::filesystem::path kExamples = test_support::examplesDir();

// A KeyInfo that points at a WS-Security token the document does not hold.
constexpr const char* kMissingToken =
    R"(<Envelope xmlns:wsse="http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-wssecurity-secext-1.0.xsd">)"
    R"(<ds:Signature xmlns:ds="http://www.w3.org/2000/09/xmldsig#"><ds:SignedInfo/><ds:SignatureValue/>)"
    R"(<ds:KeyInfo><wsse:SecurityTokenReference><wsse:Reference URI="#missing"/></wsse:SecurityTokenReference>)"
    R"(</ds:KeyInfo></ds:Signature></Envelope>)";

} // namespace

TEST(CertificatesApi, TheSignersCertificateAsVerificationReportsItAndAsPem) {
    const std::filesystem::path example = kExamples / "enveloped-rsa-x509.xml";
    std::vector<xmldsig::Certificate> certs;
    const xmldsig::Status status = xmldsig::keyInfoCertificatesOfFile(example, 0, certs);
    ASSERT_TRUE(status) << status.message;
    ASSERT_EQ(certs.size(), 1u);
    const xmldsig::Result verified = xmldsig::verifyFile(example, {});
    ASSERT_TRUE(verified.valid()) << verified.status.message;
    const xmldsig::Certificate& signer = verified.signatures[0].signer->certificate.value();
    EXPECT_EQ(certs[0].der, signer.der);
    EXPECT_EQ(certs[0].subject, signer.subject);
    EXPECT_EQ(certs[0].notAfter, signer.notAfter);
    EXPECT_EQ(certs[0].sha256Fingerprint, signer.sha256Fingerprint);
    // The example's signer was written out by openssl.
    EXPECT_EQ(xmldsig::pem(certs[0]), test_support::readFile(kExamples / "keys/rsa-signer.pem"));

    xmldsig::Certificate notACertificate;
    notACertificate.der = {0x30, 0x03, 0x02, 0x01, 0x01};
    EXPECT_EQ(xmldsig::pem(notACertificate), "");
}

TEST(CertificatesApi, FailuresNameTheDocument) {
    std::vector<xmldsig::Certificate> certs;
    xmldsig::Status s = xmldsig::keyInfoCertificates(kMissingToken, 0, certs);
    EXPECT_EQ(s.code, xmldsig::Errc::unresolved_key_info);
    EXPECT_TRUE(s.message.starts_with("document: ")) << s.message;
    s = xmldsig::keyInfoCertificates(kMissingToken, 1, certs);
    EXPECT_EQ(s.code, xmldsig::Errc::no_such_signature);
    EXPECT_EQ(s.message, "document: no signature at index 1");
    EXPECT_EQ(xmldsig::keyInfoCertificates(kMissingToken, -1, certs).code, xmldsig::Errc::no_such_signature);
    EXPECT_EQ(xmldsig::keyInfoCertificates("<a/>", 0, certs).code, xmldsig::Errc::no_signature);
    EXPECT_EQ(xmldsig::keyInfoCertificates("<a", 0, certs).code, xmldsig::Errc::not_xml);
}
