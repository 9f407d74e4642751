#include "support/TimestampTestSupport.h"

#include "companion/base/ClsJsonObject.h"
#include "companion/log/LogBase.h"
#include "companion/pki/ClsXmlCertVault.h"
#include "companion/xml/ClsXml.h"
#include "companion/xml/XmlSigLocate.h"
#include "verifier/ClsXmlDSig.h"

#include <gtest/gtest.h>

#include <memory>

namespace timestamp_test {

using test_support::runProcess;
using test_support::shellQuote;

namespace {

constexpr const char* kEcKey = "-newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes";
constexpr const char* kTsaExtensions = "[tsa]\n"
                                       "basicConstraints=CA:FALSE\n"
                                       "keyUsage=critical,digitalSignature,nonRepudiation\n"
                                       "extendedKeyUsage=critical,timeStamping\n"
                                       "subjectKeyIdentifier=hash\n"
                                       "authorityKeyIdentifier=keyid\n";
constexpr const char* kSignedPropertiesId = "--id-attr:Id 'http://uri.etsi.org/01903/v1.3.2#:SignedProperties'";

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

std::unique_ptr<TimestampLab> WithTimestampAuthority::s_lab;
std::unique_ptr<LoopbackTsa> WithTimestampAuthority::s_tsa;

void WithTimestampAuthority::SetUpTestSuite() {
    s_lab = std::make_unique<TimestampLab>();
    s_tsa = std::make_unique<LoopbackTsa>(s_lab->identity("tsa"), s_lab->dir());
}

void WithTimestampAuthority::TearDownTestSuite() {
    s_tsa.reset();
    s_lab.reset();
}

TimestampLab::TimestampLab() {
    test_support::writeFile(dir() / "ext.cnf", kTsaExtensions);
    makeRoot("ca");
    makeRoot("ca2");
    makeTsa("tsa", "ca", "tsa");
    makeTsa("twin", "ca", "twin");
    makeTsa("tsa2", "ca2", "tsa2");
    writeConfig("tsa", "ca");
    writeConfig("twin", "ca");
    writeConfig("tsa2", "ca2");
    openssl(std::string("req -x509 ") + kEcKey + " -keyout signer.key -out signer.pem -subj /CN=Signer -days 2");
}

void TimestampLab::openssl(const std::string& args) const {
    test_support::runOpenssl(dir(), args);
}

void TimestampLab::makeRoot(const std::string& name) const {
    openssl(std::string("req -x509 ") + kEcKey + " -keyout " + name + ".key -out " + name + ".pem -subj '/CN=Root " +
            name + "' -days 2 -addext basicConstraints=critical,CA:TRUE -addext keyUsage=critical,keyCertSign");
}

// Every TSA of one root gets serial 2 and the same subject, so that "twin"
// is indistinguishable from "tsa" by issuer and serial.
void TimestampLab::makeTsa(const std::string& name, const std::string& root, const std::string& keyOf) const {
    openssl(std::string("req ") + kEcKey + " -keyout " + keyOf + ".key -out " + name + ".csr -subj '/CN=Loopback TSA'");
    openssl("x509 -req -in " + name + ".csr -CA " + root + ".pem -CAkey " + root + ".key -set_serial 2 -days 2 -out " +
            name + ".pem -extfile ext.cnf -extensions tsa");
}

void TimestampLab::writeConfig(const std::string& tsa, const std::string& root) const {
    const std::string d = dir().string() + "/";
    test_support::writeFile(dir() / (tsa + ".serial"), "01\n");
    test_support::writeFile(dir() / (tsa + ".cnf"), "[ tsa ]\ndefault_tsa = tsa_config\n[ tsa_config ]\n"
                                                    "serial = " +
                                                        d + tsa +
                                                        ".serial\n"
                                                        "crypto_device = builtin\n"
                                                        "signer_cert = " +
                                                        d + tsa +
                                                        ".pem\n"
                                                        "certs = " +
                                                        d + root +
                                                        ".pem\n"
                                                        "signer_key = " +
                                                        d + tsa +
                                                        ".key\n"
                                                        "signer_digest = sha256\n"
                                                        "default_policy = 1.2.3.4.1\n"
                                                        "other_policies = 1.2.3.4.5\n"
                                                        "digests = sha1, sha256, sha384, sha512\n"
                                                        "accuracy = secs:1\n"
                                                        "ordering = yes\n"
                                                        "tsa_name = yes\n"
                                                        "ess_cert_id_alg = sha256\n");
}

TsaIdentity TimestampLab::identity(const std::string& tsa) const {
    return {dir() / (tsa + ".cnf"), dir() / (tsa + ".key"), cert(tsa)};
}

std::string TimestampLab::sign(const std::string& xmlTemplate) const {
    const auto in = dir() / "template.xml";
    const auto out = dir() / "signed.xml";
    test_support::writeFile(in, xmlTemplate);
    std::filesystem::remove(out);
    const auto r = runProcess("xmlsec1 --sign --privkey-pem " + shellQuote((dir() / "signer.key").string()) + "," +
                              shellQuote(cert("signer").string()) + " " + kSignedPropertiesId + " --output " +
                              shellQuote(out.string()) + " " + shellQuote(in.string()));
    EXPECT_EQ(r.exitCode, 0) << r.err;
    return test_support::readFile(out);
}

bool TimestampLab::xmlsecVerifies(const std::string& signedXml) const {
    const auto in = dir() / "to-verify.xml";
    test_support::writeFile(in, signedXml);
    const auto r = runProcess("xmlsec1 --verify --pubkey-cert-pem " + shellQuote(cert("signer").string()) + " " +
                              kSignedPropertiesId + " " + shellQuote(in.string()));
    return r.exitCode == 0;
}

std::string addTimeStamp(const std::string& xml, const std::string& url, LogBase& log,
                         const std::string& extraOptions) {
    std::unique_ptr<ClsXmlDSig> dsig(ClsXmlDSig::createNewCls());
    XString text(xml);
    EXPECT_TRUE(dsig->LoadSignature(text));
    ClsJsonObject options;
    XString json("{\"TsaUrl\":\"" + url + "\"" + extraOptions + "}");
    EXPECT_TRUE(options.Load(json));
    ClsStringBuilder out;
    const bool ok = dsig->AddEncapsulatedTimeStamp(options, out);
    for (const LogBase::Entry& e : dsig->m_log.entries())
        if (e.kind == LogBase::Kind::Error)
            log.LogError(e.value);
    return ok ? std::string(out.m_str.view()) : std::string();
}

bool verifyTimeStamp(const std::string& xml, LogBase& log, const std::string& cmsOptions,
                     const std::filesystem::path& trustedCert) {
    std::unique_ptr<ClsXmlDSig> dsig(ClsXmlDSig::createNewCls());
    XString text(xml);
    EXPECT_TRUE(dsig->LoadSignature(text));
    dsig->put_VerifyOptions(XString(cmsOptions));
    if (!trustedCert.empty()) {
        RefPtr<ClsXmlCertVault> vault(ClsXmlCertVault::createNewCls());
        XString path(trustedCert.string());
        EXPECT_TRUE(vault->AddCertFile(path));
        EXPECT_TRUE(dsig->UseCertVault(*vault));
    }
    // Signatures with an Id are found by it, the others by their first digest.
    XmlSigLocate at;
    _tvXmlDtd dtd;
    StringBuffer key;
    ClsXml* selected = dsig->selectedSignature();
    const bool byId = selected->getAttrValue("Id", key);
    if (!byId)
        selected->getChildContentUtf8("*:SignedInfo|*:Reference|*:DigestValue", key, true);
    EXPECT_TRUE(byId ? at.FindXmlSigById(key.view(), xml, dtd, log)
                     : at.FindXmlSigByRefDigest(key.view(), xml, dtd, log));
    RefPtr<ClsXml> sig(ClsXml::createNewCls());
    StringBuffer sigText(std::string_view(xml).substr(at.m_signatureLoc, at.m_signatureLen));
    EXPECT_TRUE(sig->loadXml(sigText, true, log));
    return dsig->verifyEncapsulatedTimeStamp(sigText, *sig, log);
}

std::string tokenOf(const std::string& xml) {
    const size_t tag = xml.find("EncapsulatedTimeStamp");
    const size_t begin = xml.find('>', tag) + 1;
    return xml.substr(begin, xml.find('<', begin) - begin);
}

} // namespace timestamp_test
