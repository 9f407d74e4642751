#include "support/AdesLab.h"

#include "support/Signing.h"

#include "companion/text/XmlDateTime.h"

#include <openssl/pem.h>

namespace ades_test {

namespace {

using trust_test::Signer;

constexpr const char* kIdAttributes = " --id-attr:Id 'http://uri.etsi.org/01903/v1.3.2#:SignedProperties'"
                                      " --id-attr:Id 'http://www.w3.org/2000/09/xmldsig#:SignatureValue'"
                                      " --id-attr:Id 'http://www.w3.org/2000/09/xmldsig#:Object'"
                                      " --id-attr:Id 'http://www.w3.org/2000/09/xmldsig#:Signature'";
constexpr const char* kDigest = R"(<ds:DigestMethod Algorithm="http://www.w3.org/2001/04/xmlenc#sha256"/>)";
constexpr const char* kSignedInfoStart =
    R"(<ds:SignedInfo><ds:CanonicalizationMethod Algorithm="http://www.w3.org/2001/10/xml-exc-c14n#"/><ds:SignatureMethod Algorithm="http://www.w3.org/2001/04/xmldsig-more#rsa-sha256"/>)";
constexpr std::string_view kRsaMethod = "#rsa-sha256";
constexpr std::string_view kEcdsaMethod = "#ecdsa-sha256";

std::string reference(const std::string& uri, const std::string& type, const std::string& transforms,
                      const std::string& id = {}) {
    return "<ds:Reference" + (id.empty() ? "" : " Id=\"" + id + "\"") + " URI=\"" + uri + "\"" +
           (type.empty() ? "" : " Type=\"" + type + "\"") + ">" + transforms + kDigest +
           "<ds:DigestValue/></ds:Reference>";
}

std::string derOf(const std::filesystem::path& pem) {
    const BioPtr bio(BIO_new_file(pem.c_str(), "r"));
    const X509Ptr cert(bio ? PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr) : nullptr);
    unsigned char* der = nullptr;
    const int length = cert ? i2d_X509(cert.get(), &der) : 0;
    std::string out(reinterpret_cast<const char*>(der), length > 0 ? static_cast<size_t>(length) : 0);
    OPENSSL_free(der);
    return out;
}

} // namespace

// The signers of the fixtures are issued on the day the tests run.
std::string signingTimeNow() {
    static const std::string now = formatXmlDateTime(std::time(nullptr));
    return now;
}

const AdesLab& AdesLab::shared() {
    static const AdesLab lab;
    return lab;
}

std::string AdesLab::signingCertificateV2(const std::filesystem::path& certificate) const {
    return std::string("<xades:SigningCertificateV2><xades:Cert><xades:CertDigest>") + kDigest + "<ds:DigestValue>" +
           test_support::sha256Of(derOf(certificate)) +
           "</ds:DigestValue></xades:CertDigest></xades:Cert></xades:SigningCertificateV2>";
}

SignerFiles AdesLab::filesOf(Signer signer) const {
    return {pki().dir() / (trust_test::TrustFixtures::nameOf(signer) + ".key"), pki().certificate(signer)};
}

std::string AdesLab::sign(const SignerFiles& signer, const XadesParts& parts) const {
    const std::string exc = R"(<ds:Transform Algorithm="http://www.w3.org/2001/10/xml-exc-c14n#"/>)";
    const std::string signingCertificate =
        parts.signingCertificate.empty() ? signingCertificateV2(signer.certificate) : parts.signingCertificate;
    const std::string unsignedProperties = parts.unsignedProperties.empty()
                                               ? ""
                                               : "<xades:UnsignedProperties><xades:UnsignedSignatureProperties>" +
                                                     parts.unsignedProperties +
                                                     "</xades:UnsignedSignatureProperties></xades:UnsignedProperties>";
    const std::string xml =
        R"(<Invoice xmlns="urn:example:invoice"><Id>42</Id><ds:Signature xmlns:ds="http://www.w3.org/2000/09/xmldsig#" Id="sig-1">)" +
        std::string(kSignedInfoStart) +
        reference("", "",
                  "<ds:Transforms><ds:Transform Algorithm=\"http://www.w3.org/2000/09/xmldsig#enveloped-signature\"/>" +
                      exc + "</ds:Transforms>",
                  "ref-0") +
        reference("#sp-1", "http://uri.etsi.org/01903#SignedProperties", "<ds:Transforms>" + exc + "</ds:Transforms>") +
        parts.references + R"(</ds:SignedInfo><ds:SignatureValue Id="sv-1"/>)" +
        (parts.certificateInKeyInfo ? "<ds:KeyInfo><ds:X509Data/></ds:KeyInfo>" : "") + parts.objects +
        R"(<ds:Object><xades:QualifyingProperties xmlns:xades="http://uri.etsi.org/01903/v1.3.2#" Target="#sig-1"><xades:SignedProperties Id="sp-1"><xades:SignedSignatureProperties><xades:SigningTime>)" +
        signingTimeNow() + "</xades:SigningTime>" + signingCertificate + parts.signedProperties +
        "</xades:SignedSignatureProperties>" +
        (parts.dataObjectProperties.empty() ? ""
                                            : "<xades:SignedDataObjectProperties>" + parts.dataObjectProperties +
                                                  "</xades:SignedDataObjectProperties>") +
        "</xades:SignedProperties>" + unsignedProperties +
        "</xades:QualifyingProperties></ds:Object></ds:Signature></Invoice>";
    return xmlsecSign(signer, xml);
}

std::string AdesLab::signEnveloping(Signer signer) const {
    const std::string xml = R"(<ds:Signature xmlns:ds="http://www.w3.org/2000/09/xmldsig#" Id="sig-1">)" +
                            std::string(kSignedInfoStart) + reference("#obj-1", "", "") +
                            R"(</ds:SignedInfo><ds:SignatureValue Id="sv-1"/><ds:KeyInfo><ds:X509Data/></ds:KeyInfo>)"
                            R"(<ds:Object Id="obj-1"><Order xmlns="urn:example:order">pay 10 EUR</Order></ds:Object>)"
                            "</ds:Signature>";
    return xmlsecSign(filesOf(signer), xml);
}

std::string AdesLab::counterSign(const std::string& signedXml, Signer signer, const std::string& coveredId) const {
    const std::string counterSignature =
        R"(<xades:UnsignedProperties><xades:UnsignedSignatureProperties><xades:CounterSignature><ds:Signature Id="cs-1">)" +
        std::string(kSignedInfoStart) +
        reference("#" + coveredId, "http://uri.etsi.org/01903#CountersignedSignature", "") +
        R"(</ds:SignedInfo><ds:SignatureValue/><ds:KeyInfo><ds:X509Data/></ds:KeyInfo></ds:Signature></xades:CounterSignature></xades:UnsignedSignatureProperties></xades:UnsignedProperties>)";
    const std::string xml = test_support::replaced(signedXml, "</xades:QualifyingProperties>",
                                                   counterSignature + "</xades:QualifyingProperties>");
    return xmlsecSign(filesOf(signer), xml, "cs-1");
}

std::string AdesLab::xmlsecSign(const SignerFiles& signer, const std::string& xml, const std::string& nodeId) const {
    return test_support::xmlsecSignWithKey(signer.key, signer.certificate,
                                           signer.ecdsa ? test_support::replaced(xml, kRsaMethod, kEcdsaMethod) : xml,
                                           kIdAttributes + (nodeId.empty() ? "" : " --node-id " + nodeId));
}

xmldsig::Settings AdesLab::settings() const {
    xmldsig::Settings settings;
    settings.setAdesValidation(true);
    EXPECT_TRUE(settings.addTrustAnchors(pki().root().string()).ok());
    EXPECT_TRUE(settings.addCertificates(pki().intermediate().string()).ok());
    EXPECT_TRUE(settings.addCrls(pki().crl().string()).ok());
    EXPECT_TRUE(settings.addCrls(pki().rootCrl().string()).ok());
    return settings;
}

xmldsig::SignatureResult AdesLab::validate(const std::string& xml, const xmldsig::Settings& settings) const {
    const xmldsig::Result result = xmldsig::verify(xml, settings);
    EXPECT_TRUE(result.status.ok()) << result.status.message;
    EXPECT_FALSE(result.signatures.empty());
    return result.signatures.empty() ? xmldsig::SignatureResult{} : result.signatures.front();
}

std::string indicationOf(const xmldsig::SignatureResult& result) {
    if (!result.ades)
        return "no AdES validation";
    const std::string sub = xmldsig::subIndicationName(result.ades->subIndication);
    return xmldsig::indicationName(result.ades->indication) + (sub.empty() ? "" : "/" + sub);
}

std::string verdictOf(const xmldsig::SignatureResult& result) {
    std::string text = indicationOf(result);
    if (result.ades)
        for (const auto& c : result.ades->checks)
            text += "\n  " + c.name + " [" + xmldsig::checkOutcomeName(c.outcome) + "] " + c.detail;
    return text;
}

} // namespace ades_test
