// What the API reads from a document besides a verdict, and the timestamp it adds.
#include "xmldsig/Certificates.h"
#include "xmldsig/DocumentInfo.h"
#include "xmldsig/Timestamp.h"
#include "xmldsig/Verifier.h"

#include "TestSupport.h"
#include "support/LoopbackTsa.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace {

// Two signatures in SII's namespace: the first with a prefixed name, a
// reference without URI, an exclusive canonicalization with a prefix list and
// a SignatureValue that is no base64; the second plain.
constexpr const char* kTwoSignatures =
    R"(<DTE xmlns="http://www.sii.cl/SiiDte">)"
    R"(<ds:Signature xmlns:ds="http://www.w3.org/2000/09/xmldsig#" Id="S1"><ds:SignedInfo>)"
    R"(<ds:CanonicalizationMethod Algorithm="http://www.w3.org/2001/10/xml-exc-c14n#">)"
    R"(<ec:InclusiveNamespaces xmlns:ec="http://www.w3.org/2001/10/xml-exc-c14n#" PrefixList="a b"/>)"
    R"(</ds:CanonicalizationMethod><ds:SignatureMethod Algorithm="urn:sm"/>)"
    R"(<ds:Reference><ds:DigestMethod Algorithm="urn:dm"/><ds:DigestValue>AAAA</ds:DigestValue></ds:Reference>)"
    R"(<ds:Reference URI="" Id="r2"><ds:Transforms><ds:Transform Algorithm="urn:t1"/><ds:Transform Algorithm="urn:t2"/>)"
    R"(</ds:Transforms><ds:DigestMethod Algorithm="urn:dm"/><ds:DigestValue>BBBB</ds:DigestValue></ds:Reference>)"
    R"(</ds:SignedInfo><ds:SignatureValue>!not base64!</ds:SignatureValue></ds:Signature>)"
    R"(<Signature xmlns="http://www.w3.org/2000/09/xmldsig#"><SignedInfo><SignatureMethod Algorithm="urn:sm2"/>)"
    R"(</SignedInfo><SignatureValue>AAEC</SignatureValue></Signature></DTE>)";

} // namespace

TEST(DocumentInfoApi, SignaturesAndReferencesAsWritten) {
    const xmldsig::DocumentInfo info = xmldsig::describe(kTwoSignatures);
    ASSERT_TRUE(info.status) << info.status.message;
    ASSERT_EQ(info.signatures.size(), 2u);
    EXPECT_EQ(info.profile, (std::vector<std::string>{"sii-cl", "no-sort-bug-retry"}));

    const xmldsig::SignatureInfo& first = info.signatures[0];
    EXPECT_EQ(first.index, 0);
    EXPECT_EQ(first.id, "S1");
    EXPECT_EQ(first.elementName, "ds:Signature");
    EXPECT_EQ(first.signatureMethod, "urn:sm");
    EXPECT_EQ(first.canonicalizationMethod, "http://www.w3.org/2001/10/xml-exc-c14n#");
    EXPECT_EQ(first.inclusivePrefixes, "a b");
    EXPECT_EQ(first.signatureValueBytes, std::nullopt);
    ASSERT_EQ(first.references.size(), 2u);
    EXPECT_EQ(first.references[0].uri, std::nullopt);
    EXPECT_TRUE(first.references[0].transforms.empty());
    EXPECT_EQ(first.references[0].digestValue, "AAAA");
    EXPECT_EQ(first.references[1].index, 1);
    EXPECT_EQ(first.references[1].uri, std::optional<std::string>(""));
    EXPECT_EQ(first.references[1].id, "r2");
    EXPECT_EQ(first.references[1].digestMethod, "urn:dm");
    EXPECT_EQ(first.references[1].transforms, (std::vector<std::string>{"urn:t1", "urn:t2"}));

    const xmldsig::SignatureInfo& second = info.signatures[1];
    EXPECT_EQ(second.index, 1);
    EXPECT_EQ(second.elementName, "Signature");
    EXPECT_EQ(second.id, "");
    EXPECT_EQ(second.signatureMethod, "urn:sm2");
    EXPECT_EQ(second.signatureValueBytes, std::optional<std::size_t>(3));
    EXPECT_TRUE(second.references.empty());
}

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

// The tool's tests add timestamps through this call; here, the code of each
// way it fails.
TEST(TimestampApi, FailuresCarryTheirCode) {
    const std::filesystem::path example = test_support::examplesDir() / "enveloped-rsa-x509.xml";
    const std::string closed = "http://127.0.0.1:" + std::to_string(timestamp_test::LoopbackTsa::closedPort()) + "/";
    std::string out = "stale";
    // The options are read first, whatever the document.
    xmldsig::Status s = xmldsig::timestampFile("/nonexistent.xml", {closed, "{bad", 0}, out);
    EXPECT_EQ(s.code, xmldsig::Errc::bad_option);
    EXPECT_EQ(out, "");
    s = xmldsig::timestamp(test_support::readFile(example), {closed, "{}", 1}, out);
    EXPECT_EQ(s.code, xmldsig::Errc::no_such_signature);
    EXPECT_EQ(s.message, "document: no signature at index 1");
    s = xmldsig::timestampFile(example, {closed, "{}", 0}, out);
    EXPECT_EQ(s.code, xmldsig::Errc::timestamp_failed);
    EXPECT_FALSE(s.message.empty());
    EXPECT_EQ(out, "");
}
