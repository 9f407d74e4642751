#include "support/TimestampTestSupport.h"

#include "support/Signing.h"

#include "companion/base/ClsJsonObject.h"
#include "companion/log/LogBase.h"
#include "companion/pki/ClsXmlCertVault.h"
#include "companion/pki/CmsSignedData.h"
#include "companion/pki/_clsCades.h"
#include "verifier/ClsXmlDSig.h"

#include <gtest/gtest.h>

#include <memory>

namespace timestamp_test {

using test_support::runProcess;
using test_support::shellQuote;

namespace {

constexpr const char* kSignedPropertiesId = "--id-attr:Id 'http://uri.etsi.org/01903/v1.3.2#:SignedProperties'";
// What every authority's openssl ts configuration shares.
constexpr const char* kTsaSettings = R"(signer_digest = sha256
default_policy = 1.2.3.4.1
other_policies = 1.2.3.4.5
digests = sha1, sha256, sha384, sha512
accuracy = secs:1
ordering = yes
tsa_name = yes
ess_cert_id_alg = sha256
)";

} // namespace

const char* const kXadesBesTemplate =
    R"(<?xml version="1.0" encoding="UTF-8"?>
<Invoice xmlns="urn:example:invoice"><Id>42</Id><Amount currency="EUR">10.00</Amount><ds:Signature xmlns:ds="http://www.w3.org/2000/09/xmldsig#" Id="sig-1"><ds:SignedInfo><ds:CanonicalizationMethod Algorithm="http://www.w3.org/2001/10/xml-exc-c14n#"/><ds:SignatureMethod Algorithm="http://www.w3.org/2001/04/xmldsig-more#ecdsa-sha256"/><ds:Reference URI=""><ds:Transforms><ds:Transform Algorithm="http://www.w3.org/2000/09/xmldsig#enveloped-signature"/><ds:Transform Algorithm="http://www.w3.org/2001/10/xml-exc-c14n#"/></ds:Transforms><ds:DigestMethod Algorithm="http://www.w3.org/2001/04/xmlenc#sha256"/><ds:DigestValue/></ds:Reference><ds:Reference Type="http://uri.etsi.org/01903#SignedProperties" URI="#sp-1"><ds:Transforms><ds:Transform Algorithm="http://www.w3.org/2001/10/xml-exc-c14n#"/></ds:Transforms><ds:DigestMethod Algorithm="http://www.w3.org/2001/04/xmlenc#sha256"/><ds:DigestValue/></ds:Reference></ds:SignedInfo><ds:SignatureValue Id="sv-1"/><ds:KeyInfo><ds:X509Data/></ds:KeyInfo><ds:Object><xades:QualifyingProperties xmlns:xades="http://uri.etsi.org/01903/v1.3.2#" Target="#sig-1"><xades:SignedProperties Id="sp-1"><xades:SignedSignatureProperties><xades:SigningTime>2026-01-01T00:00:00Z</xades:SigningTime></xades:SignedSignatureProperties></xades:SignedProperties></xades:QualifyingProperties></ds:Object></ds:Signature></Invoice>
)";

const char* const kXadesUnsignedTemplate =
    R"(<?xml version="1.0" encoding="UTF-8"?>
<Invoice xmlns="urn:example:invoice"><Id>43</Id><ds:Signature xmlns:ds="http://www.w3.org/2000/09/xmldsig#" Id="sig-2"><ds:SignedInfo><ds:CanonicalizationMethod Algorithm="http://www.w3.org/2001/10/xml-exc-c14n#"/><ds:SignatureMethod Algorithm="http://www.w3.org/2001/04/xmldsig-more#ecdsa-sha256"/><ds:Reference URI=""><ds:Transforms><ds:Transform Algorithm="http://www.w3.org/2000/09/xmldsig#enveloped-signature"/></ds:Transforms><ds:DigestMethod Algorithm="http://www.w3.org/2001/04/xmlenc#sha256"/><ds:DigestValue/></ds:Reference><ds:Reference Type="http://uri.etsi.org/01903#SignedProperties" URI="#sp-2"><ds:DigestMethod Algorithm="http://www.w3.org/2001/04/xmlenc#sha256"/><ds:DigestValue/></ds:Reference></ds:SignedInfo><ds:SignatureValue Id="sv-2"/><ds:Object><xades:QualifyingProperties xmlns:xades="http://uri.etsi.org/01903/v1.3.2#" Target="#sig-2"><xades:SignedProperties Id="sp-2"><xades:SignedSignatureProperties><xades:SigningTime>2026-01-01T00:00:00Z</xades:SigningTime></xades:SignedSignatureProperties></xades:SignedProperties><xades:UnsignedProperties><xades:UnsignedSignatureProperties>
  <xades:CertificateValues/>
</xades:UnsignedSignatureProperties></xades:UnsignedProperties></xades:QualifyingProperties></ds:Object></ds:Signature></Invoice>
)";

const char* const kPlainTemplate =
    R"(<Order xmlns:x="urn:example:order" x:ref="7"><Line>1</Line><ds:Signature xmlns:ds="http://www.w3.org/2000/09/xmldsig#"><ds:SignedInfo><ds:CanonicalizationMethod Algorithm="http://www.w3.org/TR/2001/REC-xml-c14n-20010315"/><ds:SignatureMethod Algorithm="http://www.w3.org/2001/04/xmldsig-more#ecdsa-sha256"/><ds:Reference URI=""><ds:Transforms><ds:Transform Algorithm="http://www.w3.org/2000/09/xmldsig#enveloped-signature"/></ds:Transforms><ds:DigestMethod Algorithm="http://www.w3.org/2001/04/xmlenc#sha256"/><ds:DigestValue/></ds:Reference></ds:SignedInfo><ds:SignatureValue Id="sv-3"/><ds:KeyInfo><ds:KeyName>signer</ds:KeyName></ds:KeyInfo></ds:Signature></Order>)";

const char* const kXadesNsOnSignatureTemplate =
    R"(<Order><Line>2</Line><ds:Signature xmlns:ds="http://www.w3.org/2000/09/xmldsig#" xmlns:xades="http://uri.etsi.org/01903/v1.3.2#" Id="sig-4"><ds:SignedInfo><ds:CanonicalizationMethod Algorithm="http://www.w3.org/2001/10/xml-exc-c14n#"/><ds:SignatureMethod Algorithm="http://www.w3.org/2001/04/xmldsig-more#ecdsa-sha256"/><ds:Reference URI=""><ds:Transforms><ds:Transform Algorithm="http://www.w3.org/2000/09/xmldsig#enveloped-signature"/></ds:Transforms><ds:DigestMethod Algorithm="http://www.w3.org/2001/04/xmlenc#sha256"/><ds:DigestValue/></ds:Reference></ds:SignedInfo><ds:SignatureValue Id="sv-4"/></ds:Signature></Order>)";

void WithTimestampAuthority::SetUpTestSuite() {
    s_lab = std::make_unique<TimestampLab>();
    for (const char* name : {"tsa", "tsa2", "twin"})
        s_tsas.emplace_back(std::make_unique<LoopbackTsa>(s_lab->identity(name), s_lab->dir()));
}

void WithTimestampAuthority::TearDownTestSuite() {
    s_tsas.clear();
    s_lab.reset();
}

std::string WithTimestampAuthority::tokenOver(const std::string& bytes, size_t index) {
    return timestamp_test::tokenOver(bytes, tsa(index).url());
}

// Every TSA of one root gets serial 2 and the same subject, so that "twin"
// is indistinguishable from "tsa" by issuer and serial.
TimestampLab::TimestampLab() {
    using Request = test_support::Workshop::Request;
    for (const char* root : {"ca", "ca2"})
        EXPECT_TRUE(m_ws.make(root, Request(std::string("/CN=Root ") + root)));
    for (const auto& [tsa, root] : {std::pair{"tsa", "ca"}, {"twin", "ca"}, {"tsa2", "ca2"}}) {
        EXPECT_TRUE(m_ws.make(tsa, Request("/CN=Loopback TSA").issuer(root).serial("2").extensions("tsa")));
        writeConfig(tsa, root);
    }
    EXPECT_TRUE(m_ws.make("signer", Request("/CN=Signer")));
}

void TimestampLab::writeConfig(const std::string& tsa, const std::string& root) const {
    const std::string d = dir().string() + "/";
    test_support::writeFile(dir() / (tsa + ".serial"), "01\n");
    test_support::writeFile(dir() / (tsa + ".cnf"), "[ tsa ]\ndefault_tsa = tsa_config\n[ tsa_config ]\nserial = " + d +
                                                        tsa + ".serial\ncrypto_device = builtin\nsigner_cert = " + d +
                                                        tsa + ".pem\ncerts = " + d + root + ".pem\nsigner_key = " + d +
                                                        tsa + ".key\n" + kTsaSettings);
}

TsaIdentity TimestampLab::identity(const std::string& tsa) const {
    return {dir() / (tsa + ".cnf"), m_ws.keyPath(tsa), cert(tsa)};
}

std::string TimestampLab::sign(const std::string& xmlTemplate) const {
    return test_support::xmlsecSignWithKey(dir() / "signer.key", cert("signer"), xmlTemplate, kSignedPropertiesId);
}

bool TimestampLab::xmlsecVerifies(const std::string& signedXml) const {
    const auto in = dir() / "to-verify.xml";
    test_support::writeFile(in, signedXml);
    const auto r = runProcess("xmlsec1 --verify --pubkey-cert-pem " + shellQuote(cert("signer").string()) + " " +
                              kSignedPropertiesId + " " + shellQuote(in.string()));
    return r.exitCode == 0;
}

std::string tokenOver(const std::string& bytes, const std::string& url) {
    ClsJsonObject options;
    options.updateString("TsaUrl", url);
    _clsCades cades;
    DataBuffer data, token;
    data.append(bytes);
    LogBase log;
    EXPECT_TRUE(CmsSignedData::getTimestampToken(options, data, cades, token, log)) << log.renderText();
    return test_support::base64Of(token.view());
}

Stamped addTimeStamp(const std::string& xml, const std::string& url) {
    ClsXmlDSig dsig;
    XString text(xml);
    EXPECT_TRUE(dsig.LoadSignature(text));
    ClsJsonObject options;
    XString json("{\"TsaUrl\":\"" + url + "\"}");
    EXPECT_TRUE(options.Load(json));
    ClsStringBuilder out;
    const bool ok = dsig.AddEncapsulatedTimeStamp(options, out);
    return {ok ? std::string(out.m_str.view()) : std::string(), dsig.lastFailure(), dsig.timestampRequestError()};
}

StampCheck verifyStamped(const std::string& xml, const std::string& options, const std::filesystem::path& trustedCert) {
    ClsXmlDSig dsig;
    XString text(xml);
    EXPECT_TRUE(dsig.LoadSignature(text));
    dsig.put_UncommonOptions(XString("VerifyEncapsulatedTimeStamp"));
    dsig.put_VerifyOptions(XString(options));
    if (!trustedCert.empty()) {
        RefPtr<ClsXmlCertVault> vault(ClsXmlCertVault::createNewCls());
        XString path(trustedCert.string());
        EXPECT_TRUE(vault->AddCertFile(path));
        EXPECT_TRUE(dsig.UseCertVault(*vault));
    }
    dsig.VerifySignature(false);
    return {dsig.report().stage, dsig.report().reason};
}

std::string tokenOf(const std::string& xml) {
    const size_t tag = xml.find("EncapsulatedTimeStamp");
    const size_t begin = xml.find('>', tag) + 1;
    return xml.substr(begin, xml.find('<', begin) - begin);
}

} // namespace timestamp_test
