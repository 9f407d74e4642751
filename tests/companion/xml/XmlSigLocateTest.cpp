#include "companion/xml/XmlSigLocate.h"
#include "XmlTestSupport.h"
#include "companion/log/LogBase.h"
#include "companion/xml/_tvXmlDtd.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

// The text from the first `from` through the first `through` behind it.
std::string_view between(std::string_view doc, std::string_view from, std::string_view through) {
    const size_t begin = doc.find(from);
    const size_t end = doc.find(through, begin);
    return end == std::string_view::npos ? std::string_view{} : doc.substr(begin, end + through.size() - begin);
}

struct Finder {
    explicit Finder(std::string_view text) : doc(text) {}
    XmlSigLocate at;
    _tvXmlDtd dtd;
    LogBase log;
    std::string_view doc;

    bool byId(std::string_view id) { return at.FindXmlSigById(id, doc, dtd, log); }
    bool byDigest(std::string_view digest) { return at.FindXmlSigByRefDigest(digest, doc, dtd, log); }
    std::string_view slice(uint32_t loc, uint32_t len) const { return doc.substr(loc, len); }
    std::string_view signature() const { return slice(at.m_signatureLoc, at.m_signatureLen); }
};

// Decoys in a comment, CDATA and an attribute, a UBL signature, then two
// parallel signatures back to back; the first has its digest wrapped.
constexpr std::string_view kSeveral = R"(<Invoice xmlns:cac="urn:cac" xmlns:ds="http://www.w3.org/2000/09/xmldsig#">
<!-- <ds:Signature Id="sig-a"><ds:SignedInfo><ds:Reference><ds:DigestValue>QUFBQQ==</ds:DigestValue></ds:Reference></ds:SignedInfo><ds:SignatureValue/></ds:Signature> -->
<n><![CDATA[<ds:Signature Id="sig-a"><ds:SignedInfo><ds:Reference><ds:DigestValue>QUFBQQ==</ds:DigestValue></ds:Reference></ds:SignedInfo><ds:SignatureValue/></ds:Signature>]]></n>
<n ref='&lt;ds:Signature Id="sig-a"&gt;'/><cac:Signature Id="sig-ubl"><cac:SignatoryParty/></cac:Signature>
<ds:Signature Id="sig-a"><ds:SignedInfo><ds:Reference URI=""><ds:DigestValue>QUFB
QQ==</ds:DigestValue></ds:Reference></ds:SignedInfo><ds:SignatureValue>c2ln</ds:SignatureValue></ds:Signature><ds:Signature Id="sig-b"><ds:SignedInfo><ds:Reference URI=""><ds:DigestValue>QkJCQg==</ds:DigestValue></ds:Reference></ds:SignedInfo><ds:SignatureValue>c2ln</ds:SignatureValue></ds:Signature>
</Invoice>)";

TEST(XmlSigLocateSelection, FindsTheRightSignatureNotTheDecoys) {
    const std::string_view first =
        between(kSeveral, "<ds:Signature Id=\"sig-a\"><ds:SignedInfo><ds:Reference URI", "</ds:Signature>");
    const std::string_view second = between(kSeveral, "<ds:Signature Id=\"sig-b\">", "</ds:Signature>");
    Finder f{kSeveral};
    ASSERT_TRUE(f.byId("sig-a"));
    EXPECT_EQ(f.signature(), first);
    ASSERT_TRUE(f.byDigest("QUFBQQ=="));
    EXPECT_EQ(f.signature(), first);
    ASSERT_TRUE(f.byId("sig-b"));
    EXPECT_EQ(f.signature(), second);
    EXPECT_EQ(f.slice(f.at.m_signedInfoLoc, f.at.m_signedInfoLen),
              between(second, "<ds:SignedInfo>", "</ds:SignedInfo>"));
    ASSERT_TRUE(f.byDigest(" QkJC\r\nQg== "));
    EXPECT_EQ(f.signature(), second);

    for (const char* id : {"sig-ubl", "sig", "SIG-A", ""})
        EXPECT_FALSE(f.byId(id)) << id;
    EXPECT_FALSE(f.byDigest("QUFB"));
    EXPECT_FALSE(f.log.hasErrors());
}

TEST(XmlSigLocateSelection, MalformedTextFailsWithOneErrorAndClearsPositions) {
    Finder f{R"(<d xmlns:ds="http://www.w3.org/2000/09/xmldsig#"><ds:Signature Id="s"/></d>)"};
    ASSERT_TRUE(f.byId("s"));
    f.doc =
        R"(<d xmlns:ds="http://www.w3.org/2000/09/xmldsig#"><ds:Signature Id="s"><ds:SignedInfo></ds:Signature></d>)";
    EXPECT_FALSE(f.byId("s"));
    EXPECT_EQ(f.at.m_signatureLen, 0u);
    EXPECT_EQ(xml_test::errorCount(f.log), 1);
    EXPECT_NE(f.log.firstError().find("mismatched end tag"), std::string::npos) << f.log.firstError();
}

} // namespace
