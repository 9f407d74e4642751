#include "companion/xml/XmlSigRemoval.h"
#include "companion/log/LogBase.h"
#include "companion/text/StringBuffer.h"
#include "companion/xml/_tvXmlDtd.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

struct Removal {
    bool ok = false;
    std::string out;
    int errors = 0;
};

Removal removeFrom(std::string_view doc) {
    XmlSigRemoval removal;
    _tvXmlDtd dtd;
    LogBase log;
    StringBuffer out("stale");
    Removal r;
    r.ok = removal.removeSignatures(doc, dtd, out, log);
    r.out = std::string(out.view());
    for (const LogBase::Entry& e : log.entries())
        r.errors += e.kind == LogBase::Kind::Error;
    return r;
}

TEST(XmlSigRemoval, CutsEachSignatureExactlyAndKeepsTheWhitespaceAround) {
    constexpr std::string_view doc = "<?xml version=\"1.0\"?>\r\n"
                                     "<doc xmlns:ds=\"http://www.w3.org/2000/09/xmldsig#\">\r\n"
                                     "  <a>keep &amp; this</a>\r\n"
                                     "  <ds:Signature Id=\"one\"><ds:SignedInfo/></ds:Signature>\r\n"
                                     "  <Signature xmlns=\"http://www.w3.org/2000/09/xmldsig#\"/><ds:Signature>\n"
                                     "</ds:Signature><b/>\r\n"
                                     "</doc>\r\n";
    const Removal r = removeFrom(doc);
    ASSERT_TRUE(r.ok);
    EXPECT_EQ(r.out, "<?xml version=\"1.0\"?>\r\n"
                     "<doc xmlns:ds=\"http://www.w3.org/2000/09/xmldsig#\">\r\n"
                     "  <a>keep &amp; this</a>\r\n"
                     "  \r\n"
                     "  <b/>\r\n"
                     "</doc>\r\n");
}

TEST(XmlSigRemoval, NestedSignaturesGoWithTheOneAroundThem) {
    constexpr std::string_view doc =
        R"(<doc xmlns:ds="http://www.w3.org/2000/09/xmldsig#"><x/><ds:Signature Id="outer"><ds:Object><q:UnsignedSignatureProperties xmlns:q="urn:xades"><ds:Signature Id="inner"><ds:SignedInfo/><ds:Object><ds:Signature Id="deepest"/></ds:Object></ds:Signature></q:UnsignedSignatureProperties></ds:Object></ds:Signature><y/></doc>)";
    const Removal r = removeFrom(doc);
    ASSERT_TRUE(r.ok);
    EXPECT_EQ(r.out, R"(<doc xmlns:ds="http://www.w3.org/2000/09/xmldsig#"><x/><y/></doc>)");
}

TEST(XmlSigRemoval, OnlyElementsThatAreSignaturesGo) {
    constexpr std::string_view doc = R"(<Invoice xmlns:cac="urn:cac" xmlns:ds="http://www.w3.org/2000/09/xmldsig#">
<!-- <ds:Signature>in a comment</ds:Signature> -->
<n><![CDATA[<ds:Signature>in CDATA</ds:Signature>]]></n>
<cac:Signature><cac:ID>ubl</cac:ID></cac:Signature>
<o:Signature xmlns:o="urn:other"/>
<AuthSignature><ds:SignedInfo/><ds:SignatureValue/></AuthSignature>
<Half><ds:SignedInfo/></Half>
</Invoice>)";
    std::string expected(doc);
    const std::string_view auth = "<AuthSignature><ds:SignedInfo/><ds:SignatureValue/></AuthSignature>";
    expected.erase(expected.find(auth), auth.size());
    const Removal r = removeFrom(doc);
    ASSERT_TRUE(r.ok);
    EXPECT_EQ(r.out, expected);
}

TEST(XmlSigRemoval, SignatureInEntityTextStaysWithItsReference) {
    constexpr std::string_view doc =
        R"(<!DOCTYPE d [<!ENTITY s "<Signature xmlns='http://www.w3.org/2000/09/xmldsig#'/>">]>
<d>&s;</d>)";
    const Removal r = removeFrom(doc);
    EXPECT_TRUE(r.ok);
    EXPECT_EQ(r.out, doc);
}

TEST(XmlSigRemoval, RootSignatureLeavesOnlyTheProlog) {
    constexpr std::string_view doc =
        "<?xml version=\"1.0\"?>\n<Signature xmlns=\"http://www.w3.org/2000/09/xmldsig#\"><SignedInfo/></Signature>\n";
    const Removal r = removeFrom(doc);
    ASSERT_TRUE(r.ok);
    EXPECT_EQ(r.out, "<?xml version=\"1.0\"?>\n\n");
}

TEST(XmlSigRemoval, MalformedTextIsReturnedUnchanged) {
    constexpr std::string_view doc =
        R"(<doc xmlns:ds="http://www.w3.org/2000/09/xmldsig#"><ds:Signature></ds:Signature><open></doc>)";
    const Removal r = removeFrom(doc);
    EXPECT_FALSE(r.ok);
    EXPECT_EQ(r.out, doc);
    EXPECT_EQ(r.errors, 1);
}

TEST(XmlSigRemoval, OutputMayReplaceItsOwnInput) {
    StringBuffer text(R"(<d><Signature xmlns="http://www.w3.org/2000/09/xmldsig#">x</Signature>tail</d>)");
    XmlSigRemoval removal;
    _tvXmlDtd dtd;
    LogNull log;
    ASSERT_TRUE(removal.removeSignatures(text.getString(), dtd, text, log));
    EXPECT_EQ(text.view(), "<d>tail</d>");
}

} // namespace
