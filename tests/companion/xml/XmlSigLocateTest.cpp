#include "companion/xml/XmlSigLocate.h"
#include "companion/log/LogBase.h"
#include "companion/xml/_tvXmlDtd.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

// Text from the first occurrence of `from` at or after `after` through the
// first `through` behind it.
std::string_view between(std::string_view doc, std::string_view from, std::string_view through, size_t after = 0) {
    const size_t begin = doc.find(from, after);
    const size_t end = doc.find(through, begin);
    if (begin == std::string_view::npos || end == std::string_view::npos)
        return {};
    return doc.substr(begin, end + through.size() - begin);
}

std::string_view slice(std::string_view doc, uint32_t loc, uint32_t len) {
    return doc.substr(loc, len);
}

uint32_t offsetOf(std::string_view doc, std::string_view text, size_t after = 0) {
    return static_cast<uint32_t>(doc.find(text, after));
}

struct Finder {
    XmlSigLocate locate;
    _tvXmlDtd dtd;
    LogBase log;

    bool byId(std::string_view doc, std::string_view id) { return locate.FindXmlSigById(id, doc, dtd, log); }
    bool byDigest(std::string_view doc, std::string_view digest) {
        return locate.FindXmlSigByRefDigest(digest, doc, dtd, log);
    }
};

// Decoys in a comment and a CDATA section, a UBL signature, then two
// parallel signatures back to back; the first has its digest wrapped.
constexpr std::string_view kSeveral = R"(<?xml version="1.0"?>
<Invoice xmlns:cac="urn:cac" xmlns:ds="http://www.w3.org/2000/09/xmldsig#">
<!-- <ds:Signature Id="sig-a"><ds:SignedInfo><ds:Reference><ds:DigestValue>QUFBQQ==</ds:DigestValue></ds:Reference></ds:SignedInfo><ds:SignatureValue/></ds:Signature> -->
<note><![CDATA[<ds:Signature Id="sig-a"><ds:SignedInfo><ds:Reference><ds:DigestValue>QUFBQQ==</ds:DigestValue></ds:Reference></ds:SignedInfo><ds:SignatureValue/></ds:Signature>]]></note>
<note ref='&lt;ds:Signature Id="sig-a"&gt;'/>
<cac:Signature Id="sig-ubl"><cac:SignatoryParty/></cac:Signature>
<ds:Signature Id="sig-a"><ds:SignedInfo><ds:Reference URI=""><ds:DigestValue>QUFB
QQ==</ds:DigestValue></ds:Reference></ds:SignedInfo><ds:SignatureValue>c2ln</ds:SignatureValue></ds:Signature><ds:Signature Id="sig-b"><ds:SignedInfo><ds:Reference URI=""><ds:DigestValue>QkJCQg==</ds:DigestValue></ds:Reference></ds:SignedInfo><ds:SignatureValue>c2ln</ds:SignatureValue></ds:Signature>
</Invoice>)";

TEST(XmlSigLocateSelection, FindsTheRealSignatureNotTheDecoys) {
    const std::string_view real =
        between(kSeveral, "<ds:Signature Id=\"sig-a\"><ds:SignedInfo><ds:Reference URI", "</ds:Signature>");
    Finder byId;
    ASSERT_TRUE(byId.byId(kSeveral, "sig-a"));
    EXPECT_EQ(slice(kSeveral, byId.locate.m_signatureLoc, byId.locate.m_signatureLen), real);

    Finder byDigest;
    ASSERT_TRUE(byDigest.byDigest(kSeveral, "QUFBQQ=="));
    EXPECT_EQ(slice(kSeveral, byDigest.locate.m_signatureLoc, byDigest.locate.m_signatureLen), real);
    EXPECT_FALSE(byDigest.log.hasErrors());
}

TEST(XmlSigLocateSelection, ParallelSignatureIsSelectedByIdAndByDigest) {
    const std::string_view second = between(kSeveral, "<ds:Signature Id=\"sig-b\">", "</ds:Signature>");
    Finder f;
    ASSERT_TRUE(f.byId(kSeveral, "sig-b"));
    EXPECT_EQ(slice(kSeveral, f.locate.m_signatureLoc, f.locate.m_signatureLen), second);
    EXPECT_EQ(slice(kSeveral, f.locate.m_signedInfoLoc, f.locate.m_signedInfoLen),
              between(second, "<ds:SignedInfo>", "</ds:SignedInfo>"));

    ASSERT_TRUE(f.byDigest(kSeveral, " QkJC\r\nQg== "));
    EXPECT_EQ(slice(kSeveral, f.locate.m_signatureLoc, f.locate.m_signatureLen), second);
}

TEST(XmlSigLocateSelection, IdAndDigestMustMatchWholly) {
    Finder f;
    EXPECT_FALSE(f.byId(kSeveral, "sig-ubl"));
    EXPECT_FALSE(f.byId(kSeveral, "sig"));
    EXPECT_FALSE(f.byId(kSeveral, "SIG-A"));
    EXPECT_FALSE(f.byDigest(kSeveral, "QUFB"));
    EXPECT_FALSE(f.byDigest(kSeveral, ""));
    EXPECT_FALSE(f.log.hasErrors());
}

TEST(XmlSigLocateSelection, PrefixesAreResolvedThroughTheirDeclarations) {
    constexpr std::string_view doc = R"(<root xmlns:ds="urn:not-dsig">
<Signature xmlns="http://www.w3.org/2000/09/xmldsig#" Id="default"><SignedInfo/><SignatureValue/></Signature>
<Signature Id="no-namespace"><SignedInfo/></Signature>
<ds:Signature Id="other-namespace"/>
<inner xmlns:ds="http://www.w3.org/2000/09/xmldsig#"><ds:Signature Id="redeclared"/></inner>
<ds:Signature Id="out-of-scope"/>
<wrap xmlns="http://www.w3.org/2000/09/xmldsig#"><Signature xmlns="" Id="undeclared"/></wrap>
<x:Signature xmlns:x="http://www.w3.org/2000/09/xmldsig#" Id="any&#45;prefix"/>
</root>)";
    Finder f;
    ASSERT_TRUE(f.byId(doc, "default"));
    EXPECT_EQ(slice(doc, f.locate.m_signatureLoc, f.locate.m_signatureLen),
              between(doc, "<Signature xmlns=", "</Signature>"));
    EXPECT_EQ(slice(doc, f.locate.m_signedInfoLoc, f.locate.m_signedInfoLen), "<SignedInfo/>");
    ASSERT_TRUE(f.byId(doc, "redeclared"));
    EXPECT_EQ(slice(doc, f.locate.m_signatureLoc, f.locate.m_signatureLen), "<ds:Signature Id=\"redeclared\"/>");
    ASSERT_TRUE(f.byId(doc, "any-prefix"));
    EXPECT_EQ(f.locate.m_signatureLoc, offsetOf(doc, "<x:Signature"));

    for (const char* id : {"no-namespace", "other-namespace", "out-of-scope", "undeclared"})
        EXPECT_FALSE(f.byId(doc, id)) << id;
}

constexpr std::string_view kEbics =
    R"x(<ebicsRequest xmlns="urn:org:ebics:H004" xmlns:ds="http://www.w3.org/2000/09/xmldsig#">
<header authenticate="true"/>
<Half><ds:SignedInfo><ds:Reference><ds:DigestValue>RUJD</ds:DigestValue></ds:Reference></ds:SignedInfo></Half>
<AuthSignature><ds:SignedInfo><ds:Reference URI="#xpointer(//*[@authenticate='true'])"><ds:DigestValue>RUJD</ds:DigestValue></ds:Reference></ds:SignedInfo><ds:SignatureValue>c2ln</ds:SignatureValue></AuthSignature>
<body/>
</ebicsRequest>)x";

TEST(XmlSigLocateSelection, EbicsAuthSignatureCountsOnlyWithSignedInfoAndSignatureValue) {
    Finder f;
    ASSERT_TRUE(f.byDigest(kEbics, "RUJD"));
    const std::string_view auth = between(kEbics, "<AuthSignature>", "</AuthSignature>");
    EXPECT_EQ(slice(kEbics, f.locate.m_signatureLoc, f.locate.m_signatureLen), auth);
    EXPECT_EQ(slice(kEbics, f.locate.m_signedInfoLoc, f.locate.m_signedInfoLen),
              between(auth, "<ds:SignedInfo>", "</ds:SignedInfo>"));
    EXPECT_EQ(f.locate.m_signatureValueLoc, offsetOf(kEbics, "<ds:SignatureValue>"));
}

TEST(XmlSigLocateSelection, SignatureInEntityTextHasNoBytesToReport) {
    constexpr std::string_view doc = R"(<!DOCTYPE doc [
<!ENTITY sig "<ds:Signature xmlns:ds='http://www.w3.org/2000/09/xmldsig#' Id='e'><ds:SignedInfo/><ds:SignatureValue/></ds:Signature>">
<!ENTITY dash "-">
]>
<doc>&sig;<ds:Signature xmlns:ds="http://www.w3.org/2000/09/xmldsig#" Id="in&dash;doc"><ds:SignedInfo><ds:Reference><ds:DigestValue>RE9D&#13;
</ds:DigestValue></ds:Reference></ds:SignedInfo></ds:Signature></doc>)";
    Finder f;
    EXPECT_FALSE(f.byId(doc, "e"));
    ASSERT_TRUE(f.byId(doc, "in-doc"));
    EXPECT_EQ(slice(doc, f.locate.m_signatureLoc, f.locate.m_signatureLen),
              between(doc, "<ds:Signature xmlns:ds=\"", "</ds:Signature>"));
    ASSERT_NE(f.dtd.dtd(), nullptr);
    EXPECT_NE(f.dtd.dtd()->findEntity("sig"), nullptr);
    EXPECT_TRUE(f.byDigest(doc, "RE9D"));
}

TEST(XmlSigLocateSelection, MalformedTextFailsWithOneErrorAndClearsPositions) {
    constexpr std::string_view good = R"(<d xmlns:ds="http://www.w3.org/2000/09/xmldsig#"><ds:Signature Id="s"/></d>)";
    constexpr std::string_view bad =
        R"(<d xmlns:ds="http://www.w3.org/2000/09/xmldsig#"><ds:Signature Id="s"><ds:SignedInfo></ds:Signature></d>)";
    Finder f;
    ASSERT_TRUE(f.byId(good, "s"));
    EXPECT_FALSE(f.byId(bad, "s"));
    EXPECT_EQ(f.locate.m_signatureLen, 0u);
    int errors = 0;
    for (const LogBase::Entry& e : f.log.entries())
        errors += e.kind == LogBase::Kind::Error;
    EXPECT_EQ(errors, 1);
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
    Finder f;
    ASSERT_TRUE(f.byId(kNested, "outer"));
    const XmlSigLocate& at = f.locate;
    const size_t outer = kNested.find("<ds:Signature Id=\"outer\">");
    EXPECT_EQ(slice(kNested, at.m_signatureLoc, at.m_signatureLen),
              kNested.substr(outer, kNested.rfind("</ds:Signature>") + 15 - outer));
    EXPECT_EQ(slice(kNested, at.m_signedInfoLoc, at.m_signedInfoLen),
              between(kNested, "<ds:SignedInfo>", "</ds:SignedInfo>"));
    EXPECT_EQ(at.m_signatureValueLoc, offsetOf(kNested, "<ds:SignatureValue Id=\"sv-outer\">"));
    EXPECT_EQ(at.m_qualifyingPropertiesLoc, offsetOf(kNested, "<xa:QualifyingProperties xmlns:xa"));
    EXPECT_EQ(slice(kNested, at.m_signedPropertiesLoc, at.m_signedPropertiesLen),
              between(kNested, "<xa:SignedProperties Id=\"sp-outer\">", "</xa:SignedProperties>"));
    EXPECT_EQ(at.m_unsignedPropertiesLoc, offsetOf(kNested, "<xa:UnsignedProperties>"));
    EXPECT_EQ(at.m_unsignedSignaturePropertiesLoc, offsetOf(kNested, "<xa:UnsignedSignatureProperties>"));
    EXPECT_EQ(at.m_objectLoc, offsetOf(kNested, "<ds:Object><xa:QualifyingProperties xmlns:xa"));
    const std::string_view lastChild = slice(kNested, at.m_newObjectLoc, at.m_newObjectLen);
    EXPECT_EQ(at.m_newObjectLoc, at.m_objectLoc);
    EXPECT_TRUE(lastChild.ends_with("</xa:QualifyingProperties></ds:Object>")) << lastChild;
}

TEST(XmlSigLocatePositions, CountersignatureReportsItsOwnPartsOnly) {
    Finder f;
    ASSERT_TRUE(f.byDigest(kNested, "SU5O"));
    const XmlSigLocate& at = f.locate;
    const std::string_view inner = between(kNested, "<ds:Signature Id=\"inner\">", "</ds:Signature>");
    EXPECT_EQ(slice(kNested, at.m_signatureLoc, at.m_signatureLen), inner);
    EXPECT_EQ(slice(kNested, at.m_signedPropertiesLoc, at.m_signedPropertiesLen),
              "<xa:SignedProperties Id=\"sp-inner\"/>");
    EXPECT_EQ(at.m_qualifyingPropertiesLoc, offsetOf(kNested, "<xa:QualifyingProperties Target=\"#inner\">"));
    EXPECT_EQ(at.m_unsignedPropertiesLoc, 0u);
    EXPECT_EQ(at.m_unsignedSignaturePropertiesLoc, 0u);
    EXPECT_EQ(slice(kNested, at.m_newObjectLoc, at.m_newObjectLen), between(inner, "<ds:Object>", "</ds:Object>"));
}

TEST(XmlSigLocatePositions, FirstInDocumentOrderWinsOverTheOneThatClosesFirst) {
    std::string doc(kNested);
    doc.replace(doc.find("SU5O"), 4, "T1VU");
    Finder f;
    ASSERT_TRUE(f.byDigest(doc, "T1VU"));
    EXPECT_EQ(f.locate.m_signatureLoc, offsetOf(doc, "<ds:Signature Id=\"outer\">"));
    EXPECT_NE(f.locate.m_unsignedSignaturePropertiesLoc, 0u);
}

TEST(XmlSigLocatePositions, XadesBesWithSignedPropertiesOnly) {
    constexpr std::string_view doc =
        R"(<r xmlns:ds="http://www.w3.org/2000/09/xmldsig#"><ds:Signature Id="bes"><ds:SignedInfo/><ds:SignatureValue>c2ln</ds:SignatureValue><ds:KeyInfo/><ds:Object><QualifyingProperties xmlns="http://uri.etsi.org/01903/v1.3.2#"><SignedProperties Id="sp">
<SignedSignatureProperties/></SignedProperties></QualifyingProperties></ds:Object></ds:Signature></r>)";
    Finder f;
    ASSERT_TRUE(f.byId(doc, "bes"));
    const XmlSigLocate& at = f.locate;
    EXPECT_EQ(slice(doc, at.m_signedPropertiesLoc, at.m_signedPropertiesLen),
              between(doc, "<SignedProperties", "</SignedProperties>"));
    EXPECT_EQ(at.m_qualifyingPropertiesLoc, offsetOf(doc, "<QualifyingProperties"));
    EXPECT_EQ(at.m_unsignedPropertiesLoc, 0u);
    EXPECT_EQ(at.m_unsignedSignaturePropertiesLoc, 0u);
    EXPECT_EQ(at.m_objectLoc, offsetOf(doc, "<ds:Object>"));
}

TEST(XmlSigLocatePositions, PlainSignatureTakesANewObjectBehindItsLastChild) {
    constexpr std::string_view doc = R"(<r xmlns:ds="http://www.w3.org/2000/09/xmldsig#">
  <ds:Signature>
    <ds:SignedInfo><ds:Reference URI=""><ds:DigestValue>UExB</ds:DigestValue></ds:Reference></ds:SignedInfo>
    <ds:SignatureValue>c2ln</ds:SignatureValue>
    <ds:KeyInfo><ds:KeyName>key</ds:KeyName></ds:KeyInfo>
  </ds:Signature>
</r>)";
    Finder f;
    ASSERT_TRUE(f.byDigest(doc, "UExB"));
    const XmlSigLocate& at = f.locate;
    EXPECT_EQ(slice(doc, at.m_newObjectLoc, at.m_newObjectLen), between(doc, "<ds:KeyInfo>", "</ds:KeyInfo>"));
    EXPECT_EQ(at.m_objectLoc, 0u);
    EXPECT_EQ(at.m_qualifyingPropertiesLoc, 0u);
    EXPECT_EQ(at.m_signedPropertiesLoc, 0u);
    EXPECT_EQ(at.m_signedPropertiesLen, 0u);
    EXPECT_EQ(at.m_signatureValueLoc, offsetOf(doc, "<ds:SignatureValue>"));
}

TEST(XmlSigLocatePositions, ObjectPositionSkipsObjectsThatReferencesSign) {
    constexpr std::string_view doc =
        R"x(<ds:Signature xmlns:ds="http://www.w3.org/2000/09/xmldsig#" Id="env"><ds:SignedInfo><ds:Reference URI="#xpointer(id('data'))"><ds:DigestValue>RU5W</ds:DigestValue></ds:Reference></ds:SignedInfo><ds:SignatureValue/><ds:Object Id="data">signed</ds:Object><ds:Object Id="spare"/></ds:Signature>)x";
    Finder f;
    ASSERT_TRUE(f.byId(doc, "env"));
    EXPECT_EQ(f.locate.m_signatureLoc, 0u);
    EXPECT_EQ(f.locate.m_signatureLen, doc.size());
    EXPECT_EQ(f.locate.m_objectLoc, offsetOf(doc, "<ds:Object Id=\"spare\"/>"));
    EXPECT_EQ(slice(doc, f.locate.m_newObjectLoc, f.locate.m_newObjectLen), "<ds:Object Id=\"spare\"/>");
    EXPECT_EQ(f.locate.m_qualifyingPropertiesLoc, 0u);
}

} // namespace
