#include "TestSupport.h"
#include "companion/xml/XmlTestSupport.h"

#include "companion/canon/XmlCanon.h"
#include "companion/log/LogBase.h"
#include "companion/text/StringBuffer.h"
#include "companion/xml/XmlDtd.h"
#include "companion/xml/XmlScanner.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

struct Result {
    bool ok = false;
    std::string out;
    LogBase log;
};

void canonicalize(XmlCanon& canon, std::string_view xml, const char* uri, unsigned offset, Result& r) {
    StringBuffer in(xml);
    StringBuffer out;
    r.ok = canon.xmlCanonicalize(in, uri, offset, out, r.log);
    r.out = std::string(out.view());
}

std::string canonical(std::string_view xml, const char* uri = nullptr, unsigned offset = 0) {
    XmlCanon canon;
    Result r;
    canonicalize(canon, xml, uri, offset, r);
    EXPECT_TRUE(r.ok) << r.log.firstError();
    return r.out;
}

// --- Which element a URI or an offset names ---------------------------------

constexpr std::string_view kIdDocument = R"(<r xmlns="urn:r" xmlns:wsu="urn:wsu">
  <a ID="one">1</a><b wsu:Id="two">2</b><c id="three"/><d Id="two">dup</d></r>)";

TEST(XmlCanonSelection, MissingTargetsFailWithOneErrorAndLeaveOutputAlone) {
    for (const char* uri : {"#none", "#xpointer(//a)", "#xpointer(id(none))"}) {
        XmlCanon canon;
        StringBuffer in(kIdDocument);
        StringBuffer out("kept");
        LogBase log;
        EXPECT_FALSE(canon.xmlCanonicalize(in, uri, 0, out, log)) << uri;
        EXPECT_EQ(out.view(), "kept") << uri;
        EXPECT_EQ(xml_test::errorCount(log), 1) << uri;
    }
}

TEST(XmlCanonSelection, StartOffsetNamesTheElementWhoseTagBeginsThere) {
    const std::string doc = R"(<r xmlns="urn:r"><s:a xmlns:s="urn:s" Id="x">t</s:a><b/></r>)";
    const auto at = static_cast<unsigned>(doc.find("<b/>"));
    EXPECT_EQ(canonical(doc, nullptr, at), R"(<b xmlns="urn:r"></b>)");
    EXPECT_EQ(canonical(doc, nullptr, static_cast<unsigned>(doc.find("<s:a"))),
              R"(<s:a xmlns="urn:r" xmlns:s="urn:s" Id="x">t</s:a>)");

    XmlCanon canon;
    Result inside;
    canonicalize(canon, doc, nullptr, at + 1, inside);
    EXPECT_FALSE(inside.ok);
    EXPECT_EQ(inside.log.firstError(), "No element starts at offset " + std::to_string(at + 1) + ".");
}

TEST(XmlCanonSelection, OutputIsAppendedEvenToTheInputBuffer) {
    XmlCanon canon;
    StringBuffer text("<a  b='1'/>");
    LogBase log;
    ASSERT_TRUE(canon.xmlCanonicalize(text, nullptr, 0, text, log));
    EXPECT_EQ(text.view(), R"(<a  b='1'/><a b="1"></a>)");
}

// --- Signers that drop what a fragment inherits from its ancestors ----------

constexpr std::string_view kContextDocument =
    R"(<r xmlns="urn:d" xmlns:p="urn:p" xmlns:q="urn:q" xml:lang="en" xml:space="preserve">)"
    R"(<m xml:lang="fr" xmlns=""><t p:x="1" xml:space="default"><q:u/></t></m></r>)";

// SK-XML 1.0 DigiDoc signers hash SignedInfo without the namespace it
// inherits from Signature: the switch that drops ancestor context.
TEST(XmlCanonContext, WithoutAncestorContextTheApexRendersOnlyItsOwnDeclarations) {
    XmlCanon canon;
    canon.setInheritAncestorContext(false);
    Result r;
    canonicalize(canon, kContextDocument, nullptr, static_cast<unsigned>(kContextDocument.find("<t")), r);
    EXPECT_EQ(r.out, R"(<t xml:space="default" p:x="1"><q:u></q:u></t>)");

    const std::string skXml = R"(<SignedDoc format="SK-XML"><Signature xmlns="http://www.w3.org/2000/09/xmldsig#">)"
                              R"(<SignedInfo><Reference URI="#D0"/></SignedInfo></Signature></SignedDoc>)";
    Result signedInfo;
    canonicalize(canon, skXml, nullptr, static_cast<unsigned>(skXml.find("<SignedInfo")), signedInfo);
    EXPECT_EQ(signedInfo.out, R"(<SignedInfo><Reference URI="#D0"></Reference></SignedInfo>)");
}

// --- Signers that sort attributes by their names as written ------------------

TEST(XmlCanonSortBug, AttributesFollowPrefixOrderInsteadOfNamespaceOrder) {
    // b stands for urn:a and a for urn:z: the two orders disagree.
    const std::string doc = R"(<r xmlns:b="urn:a" xmlns:a="urn:z"><e a:x="1" b:x="2" y="3" xmlns:c="urn:c"/></r>)";
    EXPECT_EQ(canonical(doc),
              R"(<r xmlns:a="urn:z" xmlns:b="urn:a"><e xmlns:c="urn:c" y="3" b:x="2" a:x="1"></e></r>)");

    XmlCanon canon;
    canon.setSortBugEmulation(true);
    Result bug;
    canonicalize(canon, doc, nullptr, 0, bug);
    ASSERT_TRUE(bug.ok);
    EXPECT_EQ(bug.out, R"(<r xmlns:a="urn:z" xmlns:b="urn:a"><e xmlns:c="urn:c" y="3" a:x="1" b:x="2"></e></r>)");
}

// --- Documents that are not well-formed --------------------------------------

std::string scannerMessage(std::string_view xml) {
    XmlDtd dtd(xml);
    XmlScanner scanner(dtd);
    while (scanner.next()) {
    }
    return scanner.errorMessage();
}

TEST(XmlCanonMalformed, FailsWithTheScannersMessageAsItsOnlyErrorLine) {
    const std::string_view cases[] = {
        "<a><b></a>", "", "<a>&undefined;</a>", "<a x='1' x='2'/>", "<a>\xC3</a>", "<a/><b/>", "<a><b>",
    };
    for (std::string_view xml : cases) {
        for (const char* uri : {static_cast<const char*>(nullptr), "#x"}) {
            XmlCanon canon;
            StringBuffer in(xml);
            StringBuffer out("kept");
            LogBase log;
            EXPECT_FALSE(canon.xmlCanonicalize(in, uri, 0, out, log)) << xml;
            EXPECT_EQ(out.view(), "kept") << xml;
            EXPECT_EQ(xml_test::errorCount(log), 1) << xml;
            EXPECT_EQ(log.firstError(), scannerMessage(xml)) << xml;
        }
    }
}

// --- Where the standard and libxml2 part ---------------------------------------

TEST(XmlCanonEscaping, NamespaceUrisAreEscapedLikeAttributeValues) {
    // libxml2 writes namespace URIs unescaped.
    EXPECT_EQ(canonical(R"(<a xmlns:p="urn:x?a=1&amp;b=&quot;2&quot;" p:b="&#9;"/>)"),
              R"(<a xmlns:p="urn:x?a=1&amp;b=&quot;2&quot;" p:b="&#x9;"></a>)");
}

TEST(XmlCanonEscaping, CarriageReturnFromAnEntitysCharacterReferenceIsKept) {
    // Line ends are normalized in the document's text, not in an entity's
    // replacement text (libxml2 normalizes both).
    const std::string doc = "<!DOCTYPE a [<!ENTITY cr \"x&#13;<b/>\">]>\r\n<a>&cr;\r\n&#13;</a>";
    EXPECT_EQ(canonical(doc), "<a>x&#xD;<b></b>\n&#xD;</a>");
}

} // namespace
