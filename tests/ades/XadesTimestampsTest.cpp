#include "TestSupport.h"
#include "support/Signing.h"
#include "support/TimestampTestSupport.h"

#include "ades/AdesContext.h"
#include "ades/AdesReport.h"
#include "ades/XadesElements.h"
#include "companion/log/LogBase.h"
#include "companion/pki/TrustAnchors.h"
#include "verifier/ClsXmlDSig.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

// Signature 0 of the document verified, then its XAdES timestamps.
std::vector<XadesTimestampOutcome> timestampsOf(const std::string& xml, const AdesContext& context = {}) {
    ClsXmlDSig dsig;
    XString text(xml);
    EXPECT_TRUE(dsig.LoadSignature(text));
    dsig.VerifySignature(true);
    const XmlDocument* doc = dsig.loadedTree();
    EXPECT_NE(doc, nullptr);
    if (!doc)
        return {};
    const uint32_t signature = doc->elementAt(dsig.selectedSignature()->startTagBegin());
    const XadesElements e = XadesElements::find(*doc, signature, dsig.report().references);
    LogBase log;
    return dsig.verifyXadesTimestamps(e, context, log);
}

// Signed by xmlsec1; every part an archive timestamp covers has an Id, so
// that the test canonicalizes each on its own.
constexpr const char* kArchivedTemplate =
    R"(<?xml version="1.0" encoding="UTF-8"?>
<Invoice xmlns="urn:example:invoice"><Id>44</Id><ds:Signature xmlns:ds="http://www.w3.org/2000/09/xmldsig#" Id="sig"><ds:SignedInfo Id="si-2"><ds:CanonicalizationMethod Algorithm="http://www.w3.org/2001/10/xml-exc-c14n#"/><ds:SignatureMethod Algorithm="http://www.w3.org/2001/04/xmldsig-more#ecdsa-sha256"/><ds:Reference URI=""><ds:Transforms><ds:Transform Algorithm="http://www.w3.org/2000/09/xmldsig#enveloped-signature"/></ds:Transforms><ds:DigestMethod Algorithm="http://www.w3.org/2001/04/xmlenc#sha256"/><ds:DigestValue/></ds:Reference><ds:Reference Type="http://uri.etsi.org/01903#SignedProperties" URI="#sp-2"><ds:DigestMethod Algorithm="http://www.w3.org/2001/04/xmlenc#sha256"/><ds:DigestValue/></ds:Reference></ds:SignedInfo><ds:SignatureValue Id="sv"/><ds:KeyInfo Id="ki"><ds:KeyName>signer</ds:KeyName></ds:KeyInfo><ds:Object Id="obj"><note xml:lang="en">kept</note></ds:Object><ds:Object><xades:QualifyingProperties xmlns:xades="http://uri.etsi.org/01903/v1.3.2#" Target="#sig"><xades:SignedProperties Id="sp-2"><xades:SignedSignatureProperties><xades:SigningTime>2026-01-01T00:00:00Z</xades:SigningTime></xades:SignedSignatureProperties></xades:SignedProperties><xades:UnsignedProperties><xades:UnsignedSignatureProperties>
  <xades:CertificateValues Id="cv"/>
</xades:UnsignedSignatureProperties></xades:UnsignedProperties></xades:QualifyingProperties></ds:Object></ds:Signature></Invoice>
)";
constexpr std::string_view kLastProperty = "<xades:CertificateValues Id=\"cv\"/>";

std::string inclusive(const std::string& xml, const std::string& id = "") {
    ClsXmlDSig dsig;
    XString text(xml), fragment(id), version(""), prefixes(""), out;
    EXPECT_TRUE(id.empty() ? dsig.CanonicalizeXml(text, version, false, out)
                           : dsig.CanonicalizeFragment(text, fragment, version, prefixes, false, out));
    return std::string(out.view());
}

// What an ArchiveTimeStamp behind the CertificateValues covers, put together
// from the parts canonicalized one by one: the references' outputs (the
// document without its signature, SignedProperties), SignedInfo,
// SignatureValue, KeyInfo, the unsigned properties before it, the other Object.
std::string archivedInput(const std::string& signedXml) {
    const size_t begin = signedXml.find("<ds:Signature");
    const std::string end = "</ds:Signature>";
    const size_t after = signedXml.find(end) + end.size();
    std::string input = inclusive(signedXml.substr(0, begin) + signedXml.substr(after));
    for (const char* id : {"sp-2", "si-2", "sv", "ki", "cv", "obj"})
        input += inclusive(signedXml, id);
    return input;
}

class XadesTimestampTokens : public timestamp_test::WithTimestampAuthority {
protected:
    static std::string archiveStamped(const std::string& signedXml, const std::string& token) {
        const std::string stamp =
            "<xades141:ArchiveTimeStamp "
            "xmlns:xades141=\"http://uri.etsi.org/01903/v1.4.1#\"><ds:CanonicalizationMethod "
            "Algorithm=\"http://www.w3.org/TR/2001/REC-xml-c14n-20010315\"/><xades:EncapsulatedTimeStamp>" +
            token + "</xades:EncapsulatedTimeStamp></xades141:ArchiveTimeStamp>";
        std::string stamped = signedXml;
        stamped.insert(stamped.find(kLastProperty) + kLastProperty.size(), stamp);
        return stamped;
    }
};

// An archive timestamp covers the references' outputs and the signature's
// parts in order: a byte changed in SignedInfo breaks it. The authority is
// trusted when it chains to the anchors at the token's time.
TEST_F(XadesTimestampTokens, ArchiveTimeStampAndItsAuthority) {
    const std::string signedXml = s_lab->sign(kArchivedTemplate);
    ASSERT_FALSE(signedXml.empty());
    const std::string input = archivedInput(signedXml);
    TrustAnchors anchors;
    std::string error;
    ASSERT_TRUE(anchors.addAnchors(s_lab->cert("ca").string(), error)) << error;
    AdesContext context;
    context.anchors = &anchors;

    const std::string trusted = archiveStamped(signedXml, tokenOver(input, 0));
    const struct {
        const char* what;
        std::string xml;
        bool valid, tsaTrusted;
    } cases[] = {
        {"over the archived signature", trusted, true, true},
        {"from another root", archiveStamped(signedXml, tokenOver(input, 1)), true, false},
        {"SignedInfo changed", test_support::replaced(trusted, "Id=\"si-2\"", "Id=\"si-3\""), false, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const std::vector<XadesTimestampOutcome> outcomes = timestampsOf(c.xml, context);
        ASSERT_EQ(outcomes.size(), 1u);
        EXPECT_EQ(outcomes[0].kind, XadesTimestampKind::Archive);
        EXPECT_EQ(outcomes[0].valid, c.valid) << outcomes[0].reason;
        EXPECT_EQ(outcomes[0].tsaTrusted, c.tsaTrusted) << outcomes[0].tsaReason;
        EXPECT_EQ(outcomes[0].tsaReason.empty(), c.tsaTrusted);
        EXPECT_EQ(outcomes[0].reason, c.valid ? "" : "message imprint does not match the archived signature");
    }
}

} // namespace
