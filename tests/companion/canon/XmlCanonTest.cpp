#include "TestSupport.h"
#include "companion/xml/XmlTestSupport.h"

#include "companion/canon/XmlCanon.h"
#include "companion/log/LogBase.h"
#include "companion/text/StringBuffer.h"

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
