#include "XmlTestSupport.h"
#include "companion/text/XString.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using xml_test::attr;
using xml_test::content;
using xml_test::load;

std::string tagOf(ClsXml* e) {
    return e ? std::string(e->tag()) : std::string("(null)");
}

TEST(ClsXmlNavigation, ChildrenAreElementsOnly) {
    RefPtr<ClsXml> r = load("<r>text<!--c--><a/><?pi?><![CDATA[x]]><b><c/></b>tail</r>");
    ASSERT_TRUE(r);
    EXPECT_EQ(r->get_NumChildren(), 2);
    RefPtr<ClsXml> a(r->GetChild(0));
    RefPtr<ClsXml> b(r->getChild(1));
    EXPECT_EQ(tagOf(a.get()), "a");
    EXPECT_EQ(tagOf(b.get()), "b");
    EXPECT_FALSE(r->GetChild(2));
    EXPECT_FALSE(r->GetChild(-1));
    EXPECT_FALSE(r->getParent());

    RefPtr<ClsXml> cursor(r->getChild(1));
    EXPECT_TRUE(cursor->getChild2(0));
    EXPECT_EQ(cursor->tag(), "c");
    EXPECT_FALSE(cursor->getChild2(0));
    EXPECT_EQ(cursor->tag(), "c");
}

TEST(ClsXmlPaths, StepsWithIndexes) {
    RefPtr<ClsXml> r = load("<r><ds:KeyInfo><X509Data><C>c0</C><C>c1</C></X509Data><X509Data><C>c2</C></X509Data>"
                            "</ds:KeyInfo></r>");
    ASSERT_TRUE(r);
    StringBuffer out;
    EXPECT_TRUE(r->getChildContentUtf8("*:KeyInfo|X509Data|C[1]", out, false));
    EXPECT_EQ(out.view(), "c1");
    EXPECT_TRUE(r->getChildContentUtf8("*:KeyInfo|X509Data[1]|C", out, false));
    EXPECT_EQ(out.view(), "c2");
    r->put_I(1);
    EXPECT_EQ(r->get_I(), 1);
    EXPECT_TRUE(r->getChildContentUtf8("*:KeyInfo|X509Data[0]|C[i]", out, false));
    EXPECT_EQ(out.view(), "c1");
    for (const char* missing : {"*:KeyInfo|X509Data[2]", "*:KeyInfo||C", "*:KeyInfo|C", "*:KeyInfo|X509Data[x]",
                                "*:KeyInfo|X509Data[-1]", ""}) {
        EXPECT_FALSE(r->getChildContentUtf8(missing, out, false)) << missing;
        EXPECT_EQ(out.view(), "") << missing;
        RefPtr<ClsXml> none(r->getChildWithTagUtf8(missing));
        EXPECT_FALSE(none) << missing;
    }
    RefPtr<ClsXml> data(r->findChild("*:KeyInfo|X509Data[1]"));
    EXPECT_EQ(tagOf(data.get()), "X509Data");
}

TEST(ClsXmlAttributes, ByNameAndByIndex) {
    RefPtr<ClsXml> r = load("<r Id='1' wsu:Id='2' b='x &amp; y'/>");
    ASSERT_TRUE(r);
    StringBuffer out("stale");
    EXPECT_FALSE(r->getAttrValue("missing", out));
    EXPECT_EQ(out.view(), "");
    EXPECT_EQ(attr(*r, "Id"), "1");
    EXPECT_EQ(attr(*r, "wsu:Id"), "2");
    EXPECT_EQ(attr(*r, "b"), "x & y");
    EXPECT_TRUE(r->hasAttribute("wsu:Id"));
    EXPECT_FALSE(r->hasAttribute("id"));
    ASSERT_EQ(r->get_NumAttributes(), 3);
    StringBuffer name;
    EXPECT_TRUE(r->getAttributeName(2, name));
    EXPECT_EQ(name.view(), "b");
    EXPECT_TRUE(r->getAttributeValue(2, out));
    EXPECT_EQ(out.view(), "x & y");
    EXPECT_FALSE(r->getAttributeName(3, name));
    StringBuffer child;
    RefPtr<ClsXml> doc = load("<r><m Algorithm='alg'/></r>");
    EXPECT_TRUE(doc->getChildAttrValue("m", "Algorithm", child));
    EXPECT_EQ(child.view(), "alg");
    EXPECT_FALSE(doc->getChildAttrValue("m", "Other", child));
    EXPECT_FALSE(doc->getChildAttrValue("n", "Algorithm", child));
}

TEST(ClsXmlSearch, DocumentOrderFromAfter) {
    RefPtr<ClsXml> r = load("<a:T n='0'><x><T n='1'><T n='2' k='Value-7'/></T></x><T n='3' k='other'/></a:T>");
    ASSERT_TRUE(r);
    RefPtr<ClsXml> first(r->searchForTag(nullptr, "*:T"));
    EXPECT_EQ(attr(*first, "n"), "0"); // the search includes the root
    RefPtr<ClsXml> second(r->searchForTag(first.get(), "*:T"));
    EXPECT_EQ(attr(*second, "n"), "1");
    RefPtr<ClsXml> third(r->searchForTag(second.get(), "T"));
    EXPECT_EQ(attr(*third, "n"), "2");
    RefPtr<ClsXml> fourth(r->searchForTag(third.get(), "T"));
    EXPECT_EQ(attr(*fourth, "n"), "3");
    EXPECT_FALSE(r->searchForTag(fourth.get(), "T"));

    RefPtr<ClsXml> byValue(r->searchForAttribute(nullptr, "T", "k", false, "value-*"));
    EXPECT_EQ(attr(*byValue, "n"), "2");
    EXPECT_FALSE(r->searchForAttribute(nullptr, "T", "k", true, "value-*"));
    RefPtr<ClsXml> anyTag(r->searchForAttribute(byValue.get(), nullptr, "k", true, "*e*"));
    EXPECT_EQ(attr(*anyTag, "n"), "3");
}

TEST(ClsXmlLoading, SharesTheCallersBytesAndFailsCleanly) {
    StringBuffer text("<r><a/></r>");
    RefPtr<ClsXml> xml(ClsXml::createNewCls());
    LogBase log;
    ASSERT_TRUE(xml->loadXml(text, false, log));
    EXPECT_EQ(xml->sourceText().data(), text.getString());
    text.append("<!-- changed -->"); // the tree keeps the text it was given
    EXPECT_EQ(xml->sourceText(), "<r><a/></r>");

    EXPECT_FALSE(xml->loadXml("<r>", false, log));
    EXPECT_FALSE(xml->isLoaded());
    EXPECT_EQ(xml->get_NumChildren(), 0);
    EXPECT_EQ(xml->tag(), "");
    StringBuffer out;
    EXPECT_FALSE(xml->getXml(false, out, log));
}

} // namespace
