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
    std::string error;
};

Removal removeFrom(std::string_view doc) {
    XmlSigRemoval removal;
    _tvXmlDtd dtd;
    LogBase log;
    StringBuffer out("stale");
    const bool ok = removal.removeSignatures(doc, dtd, out, log);
    return Removal{ok, std::string(out.view()), log.firstError()};
}

TEST(XmlSigRemoval, OnlyElementsThatAreSignaturesGo) {
    constexpr std::string_view doc =
        R"(<!DOCTYPE Invoice [<!ENTITY s "<Signature xmlns='http://www.w3.org/2000/09/xmldsig#'/>">]>
<Invoice xmlns:cac="urn:cac" xmlns:ds="http://www.w3.org/2000/09/xmldsig#">
<!-- <ds:Signature>in a comment</ds:Signature> --><n><![CDATA[<ds:Signature>in CDATA</ds:Signature>]]></n>
<cac:Signature><cac:ID>ubl</cac:ID></cac:Signature><o:Signature xmlns:o="urn:other"/>&s;
<AuthSignature><ds:SignedInfo/><ds:SignatureValue/></AuthSignature><Half><ds:SignedInfo/></Half>
</Invoice>)";
    std::string expected(doc);
    const std::string_view auth = "<AuthSignature><ds:SignedInfo/><ds:SignatureValue/></AuthSignature>";
    expected.erase(expected.find(auth), auth.size());
    const Removal r = removeFrom(doc);
    ASSERT_TRUE(r.ok);
    EXPECT_EQ(r.out, expected);
}

TEST(XmlSigRemoval, MalformedTextIsReturnedUnchanged) {
    constexpr std::string_view doc = R"(<d xmlns:ds="http://www.w3.org/2000/09/xmldsig#"><ds:Signature/><open></d>)";
    const Removal r = removeFrom(doc);
    EXPECT_FALSE(r.ok);
    EXPECT_EQ(r.out, doc);
    EXPECT_NE(r.error.find("mismatched end tag"), std::string::npos) << r.error;
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
