#include "TestSupport.h"
#include "companion/base/ClsBinData.h"
#include "verifier/ClsXmlDSig.h"
#include "verifier/SignatureMethodMapping.h"
#include "xmldsig/xmldsig.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

namespace {

std::string signedDocument(const std::string& body) {
    return "<doc xmlns:ds=\"http://www.w3.org/2000/09/xmldsig#\">" + body +
           "<ds:Signature><ds:SignedInfo/><ds:SignatureValue>AA==</ds:SignatureValue></ds:Signature></doc>";
}

std::unique_ptr<ClsXmlDSig> loaded(const std::string& xml, const char* options = "") {
    std::unique_ptr<ClsXmlDSig> dsig(ClsXmlDSig::createNewCls());
    dsig->put_UncommonOptions(XString(options));
    XString text(xml);
    EXPECT_TRUE(dsig->LoadSignature(text)) << dsig->lastErrorText();
    return dsig;
}

TEST(ProfileDetection, MarkersInTheTextAndOptionsSetTheFlags) {
    using Flags = SignerProfile;
    const struct {
        std::string body;
        const char* options;
        bool (*check)(const Flags&);
    } cases[] = {
        // The first matching family wins.
        {"<a>http://www.sii.cl/SiiDte</a><b>urn:sunat:names:specification:ubl:peru</b>", "",
         [](const Flags& f) { return f.isSiiCl && f.noSortBugRetry && !f.isSunat && f.specialProfile == 0; }},
        {"<a>urn:hl7-org:v3</a><b>http://csioz.gov.pl/p1</b>", "",
         [](const Flags& f) { return f.dupC14nSortBug && !f.isCsioz; }},
        {"<a>urn:sunat:names:specification:ubl:peru:schema</a>", "",
         [](const Flags& f) { return f.isSunat && f.specialProfile == 3; }},
        {"<a>http://www.zus.pl/2013</a>", "", [](const Flags& f) { return f.dupC14nSortBug && !f.isCsioz; }},
        {"<a>http://csioz.gov.pl/p1/wspolne</a>", "", [](const Flags& f) { return f.dupC14nSortBug && f.isCsioz; }},
        {"<a>urn:cma:stp:xsd:stp.1.0</a>", "", [](const Flags& f) { return f.isCmaStp; }},
        {"<doda>siat.sat.gob.mx</doda>", "", [](const Flags& f) { return f.isDoda; }},
        {"<a>https://siat.sat.gob.mx/</a>", "", [](const Flags& f) { return !f.isDoda && !f.dupC14nSortBug; }},
        // Option tokens are case-insensitive substrings.
        {"", "zatca", [](const Flags& f) { return f.isZatca && !f.isMyInvois && !f.noSortBugRetry; }},
        {"", "VerifyEncapsulatedTimeStamp,MyInvois", [](const Flags& f) { return f.isMyInvois && !f.isZatca; }},
    };
    for (const auto& c : cases)
        EXPECT_TRUE(c.check(loaded(signedDocument(c.body), c.options)->profileFlags())) << c.body << c.options;
    EXPECT_FALSE(loaded("<SignedDoc>SK-XML</SignedDoc>")->profileFlags().isSignedDocSkXml);
    EXPECT_TRUE(loaded("<SignedDoc format=\"SK-XML\"/>")->profileFlags().isSignedDocSkXml);
}

// A long text is searched for the markers on a second thread while it is
// parsed: the same flags result, also when the parse fails.
TEST(ProfileDetection, LongTextsAreSearchedWhileTheyAreParsed) {
    std::string padding;
    while (padding.size() < (2u << 20))
        padding += "<p>line " + std::to_string(padding.size()) + "</p>\n";
    auto dsig = loaded(signedDocument(padding + "<a>http://www.zus.pl/2013</a>"));
    EXPECT_TRUE(dsig->profileFlags().dupC14nSortBug);
    EXPECT_EQ(dsig->get_NumSignatures(), 1);

    XString broken(signedDocument(padding + "<a>urn:cma:stp:xsd:stp</a><a>urn:hl7-org:v3</a><b>"));
    EXPECT_FALSE(dsig->LoadSignature(broken));
    EXPECT_TRUE(dsig->profileFlags().dupC14nSortBug);
    EXPECT_FALSE(dsig->profileFlags().isCmaStp);
    EXPECT_EQ(dsig->lastFailure().rfind("XML parse error", 0), 0u) << dsig->lastFailure();
}

TEST(SignatureLoading, ByteLoadKeepsTheProfileOptionsOfTheLastStringLoad) {
    auto dsig = loaded(signedDocument(""), "ZATCA");
    EXPECT_TRUE(dsig->profileFlags().isZatca);
    dsig->put_UncommonOptions(XString(""));
    ClsBinData bd;
    bd.m_data.append(signedDocument(""));
    ASSERT_TRUE(dsig->LoadSignatureBd(bd));
    EXPECT_TRUE(dsig->profileFlags().isZatca);
    XString text(signedDocument(""));
    ASSERT_TRUE(dsig->LoadSignature(text));
    EXPECT_FALSE(dsig->profileFlags().isZatca);
}

TEST(SignatureLoading, EveryInputFormLoadsAndAFailedLoadLeavesNothing) {
    ClsStringBuilder sb;
    sb.m_str.append(signedDocument("<p>caf\xC3\xA9</p>"));
    std::unique_ptr<ClsXmlDSig> dsig(ClsXmlDSig::createNewCls());
    ASSERT_TRUE(dsig->LoadSignatureSb(sb));
    EXPECT_EQ(dsig->get_NumSignatures(), 1);

    ClsBinData utf16;
    utf16.m_data.append("\xFF\xFE", 2);
    for (unsigned char c : signedDocument("")) {
        utf16.m_data.appendChar(c);
        utf16.m_data.appendChar(0);
    }
    ASSERT_TRUE(dsig->LoadSignatureBd(utf16)) << dsig->lastErrorText();
    EXPECT_EQ(dsig->get_NumSignatures(), 1);

    XString truncated(signedDocument("").substr(0, 40));
    EXPECT_FALSE(dsig->LoadSignature(truncated));
    EXPECT_EQ(dsig->get_NumSignatures(), 0);
    EXPECT_EQ(dsig->get_NumReferences(), 0);
    EXPECT_NE(dsig->lastFailure().find("line"), std::string::npos) << dsig->lastFailure();

    XString ubl("<invoice><cac:Signature xmlns:cac=\"urn:cac\"><id>1</id></cac:Signature></invoice>");
    EXPECT_TRUE(dsig->LoadSignature(ubl));
    EXPECT_EQ(dsig->get_NumSignatures(), 0);
}

// Beyond MaxSignatures (1000 unless VerifyOptions says otherwise) the load
// fails with the reason and lists no signature to verify.
TEST(SignatureLoading, TooManySignaturesFailTheLoad) {
    std::string sigs;
    for (int i = 0; i < 1001; ++i)
        sigs += "<ds:Signature><ds:SignedInfo/><ds:SignatureValue>AA==</ds:SignatureValue></ds:Signature>";
    const std::string doc = signedDocument(sigs);
    const std::string reason =
        R"(Signatures in the document: 1002, over the limit of 1000 (VerifyOptions "MaxSignatures").)";
    for (const std::string limit : {"", "1001", "1002"}) {
        SCOPED_TRACE(limit);
        ClsXmlDSig dsig;
        dsig.put_VerifyOptions(XString(limit.empty() ? "" : R"({"MaxSignatures": )" + limit + "}"));
        XString text(doc);
        const bool within = limit == "1002";
        EXPECT_EQ(dsig.LoadSignature(text), within);
        EXPECT_EQ(dsig.get_NumSignatures(), within ? 1002 : 0);
        const std::string expected = limit.empty() ? reason : "over the limit of " + limit;
        EXPECT_EQ(dsig.lastFailure().find(expected) == std::string::npos, within) << dsig.lastFailure();
    }
}

// The selector is clamped, an Id selects the first signature that has it,
// and literal carriage-return references are dropped from the value.
TEST(SignatureSelection, SelectorIdsAndSignedInfoReaders) {
    const std::string doc = R"(<doc xmlns:ds="http://www.w3.org/2000/09/xmldsig#">
<ds:Signature Id="dup"><ds:SignedInfo><ds:SignatureMethod Algorithm="urn:m"/><ds:Reference URI="#a"/></ds:SignedInfo>
<ds:SignatureValue>
QUJD&amp;#13;
REVG&amp;#xD;
</ds:SignatureValue></ds:Signature>
<Signature xmlns="http://www.w3.org/2000/09/xmldsig#" Id="dup"><SignedInfo><SignatureMethod/></SignedInfo></Signature>
<ds:Signature Id="third"/></doc>)";
    auto dsig = loaded(doc);
    ASSERT_EQ(dsig->get_NumSignatures(), 3);
    dsig->put_Selector(5);
    EXPECT_EQ(dsig->get_Selector(), 2);
    dsig->put_Selector(-1);
    EXPECT_EQ(dsig->get_Selector(), 0);
    EXPECT_EQ(dsig->get_NumReferences(), 1);
    dsig->put_Selector(2);
    EXPECT_FALSE(dsig->VerifyReferenceDigest(0)); // no SignedInfo
    EXPECT_EQ(dsig->get_RefFailReason(), 3);

    for (const auto& [id, index] : {std::pair{"dup", 0}, {"third", 2}, {"du", -1}}) {
        xmldsig::Settings settings;
        settings.selectId(id);
        const xmldsig::Result r = xmldsig::verify(doc, settings);
        EXPECT_TRUE(index >= 0 ? r.status.ok() : r.status.code == xmldsig::Errc::no_such_signature) << id;
        EXPECT_EQ(r.signatures.empty() ? -1 : r.signatures[0].index, index) << id;
    }

    // "QUJDREVG": six bytes once the references are dropped.
    const xmldsig::DocumentInfo info = xmldsig::describe(doc);
    ASSERT_EQ(info.signatures.size(), 3u);
    EXPECT_EQ(info.signatures[0].signatureValueBytes, std::optional<size_t>(6));
}

TEST(SignatureMethodMapping, UrisOfRealSigners) {
    const struct {
        const char* uri;
        int hashAlg, keyType;
    } cases[] = {
        {"http://www.w3.org/2001/04/xmldsig-more#ecdsa-sha384", 2, 3},
        {"http://www.w3.org/2001/04/xmldsig-more#hmac-ripemd160", 10, 4},
        {"http://www.w3.org/2007/05/xmldsig-more#ripemd128-rsa-MGF1", 9, 1},
        {"http://www.w3.org/2007/05/xmldsig-more#sha3-256-rsa-MGF1", 13, 1},
        {"http://www.w3.org/2021/04/xmldsig-more#eddsa-ed448ph", 0, 5},
        {"http://www.aleksey.com/xmlsec/2025/12/xmldsig-more#slh-dsa-sha2-128f", 0, -1},
        // ADFS writes the SHA-256 method under another host and path.
        {"http://www.w3.org/2001/04/xmldsig-more/rsa-sha256", 7, 1},
        {"http://www.w3.org/2001/04/xmldsig-more#RSA-SHA256", 0, -1},
    };
    LogNull log;
    for (const auto& c : cases) {
        EXPECT_EQ(signatureMethodToHashAlg(StringBuffer(c.uri), log), c.hashAlg) << c.uri;
        EXPECT_EQ(signatureMethodToKeyType(StringBuffer(c.uri), log), c.keyType) << c.uri;
    }
}

} // namespace
