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

uint32_t offsetOf(std::string_view doc, std::string_view text) {
    return static_cast<uint32_t>(doc.find(text));
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

TEST(XmlSigLocateSelection, PrefixesAreResolvedThroughTheirDeclarations) {
    Finder f{R"(<root xmlns:ds="urn:not-dsig">
<Signature xmlns="http://www.w3.org/2000/09/xmldsig#" Id="default"><SignedInfo/><SignatureValue/></Signature>
<Signature Id="no-namespace"/><ds:Signature Id="other-namespace"/>
<inner xmlns:ds="http://www.w3.org/2000/09/xmldsig#"><ds:Signature Id="redeclared"/></inner><ds:Signature Id="out-of-scope"/>
<wrap xmlns="http://www.w3.org/2000/09/xmldsig#"><Signature xmlns="" Id="undeclared"/></wrap>
<x:Signature xmlns:x="http://www.w3.org/2000/09/xmldsig#" Id="any&#45;prefix"/>
</root>)"};
    ASSERT_TRUE(f.byId("default"));
    EXPECT_EQ(f.signature(), between(f.doc, "<Signature xmlns=", "</Signature>"));
    EXPECT_EQ(f.slice(f.at.m_signedInfoLoc, f.at.m_signedInfoLen), "<SignedInfo/>");
    ASSERT_TRUE(f.byId("redeclared"));
    EXPECT_EQ(f.signature(), "<ds:Signature Id=\"redeclared\"/>");
    ASSERT_TRUE(f.byId("any-prefix"));
    EXPECT_EQ(f.at.m_signatureLoc, offsetOf(f.doc, "<x:Signature"));
    for (const char* id : {"no-namespace", "other-namespace", "out-of-scope", "undeclared"})
        EXPECT_FALSE(f.byId(id)) << id;
}

TEST(XmlSigLocateSelection, EbicsAuthSignatureNeedsSignedInfoAndSignatureValue) {
    Finder f{
        R"x(<ebicsRequest xmlns="urn:org:ebics:H004" xmlns:ds="http://www.w3.org/2000/09/xmldsig#"><header authenticate="true"/>
<Half><ds:SignedInfo><ds:Reference><ds:DigestValue>RUJD</ds:DigestValue></ds:Reference></ds:SignedInfo></Half>
<AuthSignature><ds:SignedInfo><ds:Reference URI="#xpointer(//*[@authenticate='true'])"><ds:DigestValue>RUJD</ds:DigestValue></ds:Reference></ds:SignedInfo><ds:SignatureValue>c2ln</ds:SignatureValue></AuthSignature>
</ebicsRequest>)x"};
    ASSERT_TRUE(f.byDigest("RUJD"));
    EXPECT_EQ(f.signature(), between(f.doc, "<AuthSignature>", "</AuthSignature>"));
    EXPECT_EQ(f.at.m_signedInfoLoc, offsetOf(f.doc, "<AuthSignature>") + 15);
    EXPECT_EQ(f.at.m_signatureValueLoc, offsetOf(f.doc, "<ds:SignatureValue>"));
}

TEST(XmlSigLocateSelection, EntitiesAreDecodedAndEntityTextHasNoBytes) {
    Finder f{R"(<!DOCTYPE doc [
<!ENTITY sig "<ds:Signature xmlns:ds='http://www.w3.org/2000/09/xmldsig#' Id='e'><ds:SignedInfo/><ds:SignatureValue/></ds:Signature>">
<!ENTITY dash "-">]>
<doc>&sig;<ds:Signature xmlns:ds="http://www.w3.org/2000/09/xmldsig#" Id="in&dash;doc"><ds:SignedInfo><ds:Reference><ds:DigestValue>RE9D&#13;
</ds:DigestValue></ds:Reference></ds:SignedInfo></ds:Signature></doc>)"};
    EXPECT_FALSE(f.byId("e"));
    ASSERT_TRUE(f.byId("in-doc"));
    EXPECT_EQ(f.signature(), between(f.doc, "<ds:Signature xmlns:ds=\"", "</ds:Signature>"));
    ASSERT_TRUE(f.byDigest("RE9D"));
    ASSERT_NE(f.dtd.dtd(), nullptr);
    EXPECT_NE(f.dtd.dtd()->findEntity("sig"), nullptr);
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

// A XAdES signature with a countersignature in its unsigned properties.
constexpr std::string_view kNested = R"(<doc xmlns:ds="http://www.w3.org/2000/09/xmldsig#" Id="root">
<ds:Signature Id="outer">
<ds:SignedInfo><ds:Reference URI="#root"><ds:DigestValue>T1VU</ds:DigestValue></ds:Reference><ds:Reference URI="#sp-outer"><ds:DigestValue>U1BP</ds:DigestValue></ds:Reference></ds:SignedInfo>
<ds:SignatureValue Id="sv-outer">b3V0</ds:SignatureValue>
<ds:KeyInfo><ds:KeyName>k</ds:KeyName></ds:KeyInfo>
<ds:Object><xa:QualifyingProperties xmlns:xa="http://uri.etsi.org/01903/v1.3.2#" Target="#outer"><xa:SignedProperties Id="sp-outer"><xa:SignedSignatureProperties/></xa:SignedProperties><xa:UnsignedProperties><xa:UnsignedSignatureProperties><xa:CounterSignature><ds:Signature Id="inner"><ds:SignedInfo><ds:Reference URI="#sv-outer"><ds:DigestValue>SU5O</ds:DigestValue></ds:Reference></ds:SignedInfo><ds:SignatureValue>aW5u</ds:SignatureValue><ds:Object><xa:QualifyingProperties Target="#inner"><xa:SignedProperties Id="sp-inner"/></xa:QualifyingProperties></ds:Object></ds:Signature></xa:CounterSignature></xa:UnsignedSignatureProperties></xa:UnsignedProperties></xa:QualifyingProperties></ds:Object>
</ds:Signature>
</doc>)";

TEST(XmlSigLocatePositions, OuterSignatureReportsItsOwnXadesParts) {
    Finder f{kNested};
    ASSERT_TRUE(f.byId("outer"));
    const uint32_t outer = offsetOf(kNested, "<ds:Signature Id=\"outer\">");
    EXPECT_EQ(f.signature(), kNested.substr(outer, kNested.rfind("</ds:Signature>") + 15 - outer));
    EXPECT_EQ(f.slice(f.at.m_signedInfoLoc, f.at.m_signedInfoLen),
              between(kNested, "<ds:SignedInfo>", "</ds:SignedInfo>"));
    EXPECT_EQ(f.at.m_signatureValueLoc, offsetOf(kNested, "<ds:SignatureValue Id=\"sv-outer\">"));
    EXPECT_EQ(f.at.m_qualifyingPropertiesLoc, offsetOf(kNested, "<xa:QualifyingProperties xmlns:xa"));
    EXPECT_EQ(f.slice(f.at.m_signedPropertiesLoc, f.at.m_signedPropertiesLen),
              between(kNested, "<xa:SignedProperties Id=\"sp-outer\">", "</xa:SignedProperties>"));
    EXPECT_EQ(f.at.m_unsignedPropertiesLoc, offsetOf(kNested, "<xa:UnsignedProperties>"));
    EXPECT_EQ(f.at.m_unsignedSignaturePropertiesLoc, offsetOf(kNested, "<xa:UnsignedSignatureProperties>"));
    EXPECT_EQ(f.at.m_objectLoc, offsetOf(kNested, "<ds:Object><xa:QualifyingProperties xmlns:xa"));
    EXPECT_EQ(f.at.m_newObjectLoc, f.at.m_objectLoc);
    EXPECT_TRUE(f.slice(f.at.m_newObjectLoc, f.at.m_newObjectLen).ends_with("</xa:QualifyingProperties></ds:Object>"));
}

TEST(XmlSigLocatePositions, CountersignatureReportsItsOwnPartsOnly) {
    Finder f{kNested};
    ASSERT_TRUE(f.byDigest("SU5O"));
    const std::string_view inner = between(kNested, "<ds:Signature Id=\"inner\">", "</ds:Signature>");
    EXPECT_EQ(f.signature(), inner);
    EXPECT_EQ(f.slice(f.at.m_signedPropertiesLoc, f.at.m_signedPropertiesLen),
              "<xa:SignedProperties Id=\"sp-inner\"/>");
    EXPECT_EQ(f.at.m_qualifyingPropertiesLoc, offsetOf(kNested, "<xa:QualifyingProperties Target=\"#inner\">"));
    EXPECT_EQ(f.at.m_unsignedPropertiesLoc, 0u);
    EXPECT_EQ(f.at.m_unsignedSignaturePropertiesLoc, 0u);
    EXPECT_EQ(f.slice(f.at.m_newObjectLoc, f.at.m_newObjectLen), between(inner, "<ds:Object>", "</ds:Object>"));
}

TEST(XmlSigLocatePositions, FirstInDocumentOrderWinsOverTheOneThatClosesFirst) {
    std::string outerToo(kNested);
    outerToo.replace(outerToo.find("SU5O"), 4, "T1VU");
    Finder f{outerToo};
    ASSERT_TRUE(f.byDigest("T1VU"));
    EXPECT_EQ(f.at.m_signatureLoc, offsetOf(outerToo, "<ds:Signature Id=\"outer\">"));

    std::string twoCounters(kNested);
    const std::string counter(between(kNested, "<xa:CounterSignature>", "</xa:CounterSignature>"));
    twoCounters.insert(twoCounters.find(counter) + counter.size(), counter);
    f.doc = twoCounters;
    ASSERT_TRUE(f.byDigest("SU5O"));
    EXPECT_EQ(f.at.m_signatureLoc, offsetOf(twoCounters, "<ds:Signature Id=\"inner\">"));
}

TEST(XmlSigLocatePositions, XadesBesWithSignedPropertiesOnly) {
    Finder f{
        R"(<r xmlns:ds="http://www.w3.org/2000/09/xmldsig#"><ds:Signature Id="bes"><ds:SignedInfo/><ds:SignatureValue>c2ln</ds:SignatureValue><ds:KeyInfo/><ds:Object><QualifyingProperties xmlns="http://uri.etsi.org/01903/v1.3.2#"><SignedProperties Id="sp">
<SignedSignatureProperties/></SignedProperties></QualifyingProperties></ds:Object></ds:Signature></r>)"};
    ASSERT_TRUE(f.byId("bes"));
    EXPECT_EQ(f.slice(f.at.m_signedPropertiesLoc, f.at.m_signedPropertiesLen),
              between(f.doc, "<SignedProperties", "</SignedProperties>"));
    EXPECT_EQ(f.at.m_qualifyingPropertiesLoc, offsetOf(f.doc, "<QualifyingProperties"));
    EXPECT_EQ(f.at.m_objectLoc, offsetOf(f.doc, "<ds:Object>"));
    EXPECT_EQ(f.at.m_unsignedPropertiesLoc + f.at.m_unsignedSignaturePropertiesLoc, 0u);
}

TEST(XmlSigLocatePositions, PlainSignatureTakesANewObjectBehindItsLastChild) {
    Finder f{R"(<r xmlns:ds="http://www.w3.org/2000/09/xmldsig#">
  <ds:Signature>
    <ds:SignedInfo><ds:Reference URI=""><ds:DigestValue>UExB</ds:DigestValue></ds:Reference></ds:SignedInfo>
    <ds:SignatureValue>c2ln</ds:SignatureValue>
    <ds:KeyInfo><ds:KeyName>key</ds:KeyName></ds:KeyInfo>
  </ds:Signature>
</r>)"};
    ASSERT_TRUE(f.byDigest("UExB"));
    EXPECT_EQ(f.slice(f.at.m_newObjectLoc, f.at.m_newObjectLen), between(f.doc, "<ds:KeyInfo>", "</ds:KeyInfo>"));
    EXPECT_EQ(f.at.m_signatureValueLoc, offsetOf(f.doc, "<ds:SignatureValue>"));
    EXPECT_EQ(f.at.m_objectLoc + f.at.m_qualifyingPropertiesLoc + f.at.m_signedPropertiesLoc +
                  f.at.m_signedPropertiesLen,
              0u);
}

TEST(XmlSigLocatePositions, ObjectPositionSkipsObjectsThatReferencesSign) {
    Finder f{
        R"x(<ds:Signature xmlns:ds="http://www.w3.org/2000/09/xmldsig#" Id="env"><ds:SignedInfo><ds:Reference URI="#xpointer(id('data'))"><ds:DigestValue>RU5W</ds:DigestValue></ds:Reference></ds:SignedInfo><ds:SignatureValue/><ds:Object Id="data">signed</ds:Object><ds:Object Id="spare"/></ds:Signature>)x"};
    ASSERT_TRUE(f.byId("env"));
    EXPECT_EQ(f.signature(), f.doc);
    EXPECT_EQ(f.at.m_objectLoc, offsetOf(f.doc, "<ds:Object Id=\"spare\"/>"));
    EXPECT_EQ(f.slice(f.at.m_newObjectLoc, f.at.m_newObjectLen), "<ds:Object Id=\"spare\"/>");
    EXPECT_EQ(f.at.m_qualifyingPropertiesLoc, 0u);
}

} // namespace
