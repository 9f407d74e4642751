#include "XmlTestSupport.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using xml_test::firstError;

using xml_test::attr;
using xml_test::content;
using xml_test::load;

bool contains(const std::string& s, const char* part) {
    return s.find(part) != std::string::npos;
}

TEST(XmlEntities, EntityWithMarkupBecomesElementsAtTheReference) {
    const std::string doc = "<!DOCTYPE r [<!ENTITY sig '<s:Sig xmlns:s=\"u\"><v>1</v>two</s:Sig>'>]><r>a&sig;b</r>";
    RefPtr<ClsXml> r = load(doc);
    ASSERT_TRUE(r);
    EXPECT_EQ(content(*r), "ab");
    ASSERT_EQ(r->get_NumChildren(), 1);
    RefPtr<ClsXml> sig(r->GetChild(0));
    EXPECT_EQ(sig->tag(), "s:Sig");
    EXPECT_EQ(content(*sig), "two");
    StringBuffer v;
    EXPECT_TRUE(sig->getChildContentUtf8("v", v, false));
    EXPECT_EQ(v.view(), "1");
    // Expanded elements have no bytes of their own: they report the reference.
    EXPECT_EQ(doc.substr(sig->startTagBegin(), sig->startTagEnd() - sig->startTagBegin()), "&sig;");
    EXPECT_EQ(sig->endTagBegin(), sig->endTagEnd());
    EXPECT_EQ(xml_test::serialized(*r), "<r>a<s:Sig xmlns:s=\"u\"><v>1</v>two</s:Sig>b</r>");
}

TEST(XmlEntities, MalformedOrMisusedEntitiesFail) {
    EXPECT_TRUE(contains(firstError("<!DOCTYPE r [<!ENTITY e 'x'>]><r>&f;</r>"), "undefined entity 'f'"));
    EXPECT_TRUE(
        contains(firstError("<!DOCTYPE r [<!ENTITY a '&b;'><!ENTITY b '&a;'>]><r>&a;</r>"), "refers to itself"));
    EXPECT_TRUE(
        contains(firstError("<!DOCTYPE r [<!ENTITY a '&b;'><!ENTITY b '&a;'>]><r x='&a;'/>"), "refers to itself"));
    EXPECT_TRUE(contains(firstError("<!DOCTYPE r [<!ENTITY e '<b>'>]><r>&e;</r>"), "not well-balanced"));
    EXPECT_TRUE(contains(firstError("<!DOCTYPE r [<!ENTITY e '</r><r>'>]><r>&e;</r>"), "opened outside"));
    EXPECT_TRUE(contains(firstError("<!DOCTYPE r [<!ENTITY e 'a]]>b'>]><r>&e;</r>"), "']]>'"));
    EXPECT_TRUE(contains(firstError("<!DOCTYPE r [<!ENTITY e '&#38;'>]><r>&e;</r>"), "'&' must start a reference"));
    EXPECT_TRUE(contains(firstError("<!DOCTYPE r [<!ENTITY e '<'>]><r a='&e;'/>"), "not allowed in attribute"));
    EXPECT_TRUE(contains(firstError("<!DOCTYPE r [<!ENTITY e SYSTEM 'e.txt'>]><r a='&e;'/>"), "external entity"));
    EXPECT_TRUE(contains(firstError("<!DOCTYPE r [<!NOTATION n SYSTEM 'v'><!ENTITY e SYSTEM 'f' NDATA n>]><r>&e;</r>"),
                         "unparsed entity"));
    EXPECT_TRUE(contains(firstError("<!DOCTYPE r [<!ENTITY e '%p;'>]><r/>"), "'%' is not allowed"));
    EXPECT_TRUE(contains(firstError("<!DOCTYPE r [<!ATTLIST r a CDATA '&later;'><!ENTITY later 'x'>]><r/>"),
                         "undefined entity 'later'"));
    EXPECT_TRUE(contains(firstError("<!DOCTYPE r [ %missing; ]><r/>"), "undefined parameter entity"));
    EXPECT_TRUE(contains(firstError("<!DOCTYPE r [<![INCLUDE[<!ENTITY e 'x'>]]>]><r/>"), "conditional sections"));
    EXPECT_TRUE(contains(firstError("<!DOCTYPE r [<!ELEMENT r (#PCDATA|a)>]><r/>"), "must end in ')*'"));
    EXPECT_TRUE(contains(firstError("<!DOCTYPE r [<!ELEMENT r (a,b|c)>]><r/>"), "mixed in one"));
}

TEST(XmlEntities, ChainsAreBoundedInDepth) {
    auto chain = [](int links) {
        std::string decls;
        for (int i = 0; i < links; ++i)
            decls += "<!ENTITY e" + std::to_string(i) + " '&e" + std::to_string(i + 1) + ";'>";
        decls += "<!ENTITY e" + std::to_string(links) + " 'end'>";
        return "<!DOCTYPE r [" + decls + "]>";
    };
    RefPtr<ClsXml> shallow = load(chain(10) + "<r a='&e0;'>&e0;</r>");
    ASSERT_TRUE(shallow);
    EXPECT_EQ(content(*shallow), "end");
    EXPECT_EQ(attr(*shallow, "a"), "end");
    EXPECT_TRUE(contains(firstError(chain(40) + "<r>&e0;</r>"), "nested too deeply"));
    EXPECT_TRUE(contains(firstError(chain(40) + "<r a='&e0;'/>"), "nested too deeply"));
}

// The budget bounds the work too: the expansion stops at the limit, never
// running to its full size (CTest's timeout guards against a hang).
TEST(XmlEntities, BillionLaughsHitsTheExpansionLimit) {
    std::string decls = "<!ENTITY l0 'lol'>";
    for (int i = 1; i <= 9; ++i) {
        std::string value;
        for (int k = 0; k < 10; ++k)
            value += "&l" + std::to_string(i - 1) + ";";
        decls += "<!ENTITY l" + std::to_string(i) + " '" + value + "'>";
    }
    const std::string dtd = "<!DOCTYPE r [" + decls + "]>";
    EXPECT_TRUE(contains(firstError(dtd + "<r>&l9;</r>"), "entity expansion exceeds the limit"));
    EXPECT_TRUE(contains(firstError(dtd + "<r a='&l9;'/>"), "entity expansion exceeds the limit"));
    EXPECT_TRUE(contains(firstError(dtd + "<r>" + std::string(3000, ' ') + "&l6;&l6;&l6;</r>"),
                         "entity expansion exceeds the limit"));
    EXPECT_TRUE(
        contains(firstError("<!DOCTYPE r [" + decls + "<!ATTLIST r a CDATA '&l9;'>]><r/>"), "exceeds the limit"));
    // Within the limit, nested expansion is ordinary.
    RefPtr<ClsXml> modest = load(dtd + "<r>&l3;&l3;</r>");
    ASSERT_TRUE(modest);
    EXPECT_EQ(content(*modest).size(), 6000u);
}

TEST(XmlEntities, UndeclaredEntitiesAreToleratedOnlyBehindAnUnreadExternalSubset) {
    RefPtr<ClsXml> x = load("<!DOCTYPE r SYSTEM 'r.dtd'><r a='[&ext;]'>[&ext;]</r>");
    ASSERT_TRUE(x);
    EXPECT_EQ(content(*x), "[]");
    EXPECT_EQ(attr(*x, "a"), "[]");
    EXPECT_TRUE(load("<!DOCTYPE r PUBLIC '-//x//y' 'r.dtd' [ %unread; ]><r>&ext;</r>"));
    EXPECT_TRUE(contains(firstError("<?xml version='1.0' standalone='yes'?><!DOCTYPE r SYSTEM 'r.dtd'><r>&ext;</r>"),
                         "undefined"));
    // Declared external entities are never fetched: they expand to nothing.
    RefPtr<ClsXml> y = load("<!DOCTYPE r [<!ENTITY e SYSTEM 'file:///etc/passwd'>]><r>a&e;b</r>");
    ASSERT_TRUE(y);
    EXPECT_EQ(content(*y), "ab");
}

TEST(XmlEntities, ParameterEntitiesDeclareBetweenDeclarations) {
    RefPtr<ClsXml> x = load("<!DOCTYPE r [<!ENTITY % decls '<!ENTITY e \"from pe\"><!ATTLIST r d CDATA \"dv\">'> "
                            "%decls; <!ENTITY e 'redeclared'>]><r>&e;</r>");
    ASSERT_TRUE(x);
    EXPECT_EQ(content(*x), "from pe"); // the first declaration binds
    EXPECT_EQ(attr(*x, "d"), "dv");
}

TEST(XmlContent, LineEndsAndCDataAreNormalized) {
    RefPtr<ClsXml> r = load("<r>a\r\nb\rc<![CDATA[d\r\n<&>]]>e</r>");
    ASSERT_TRUE(r);
    EXPECT_EQ(content(*r), "a\nb\ncd\n<&>e");
}

} // namespace
