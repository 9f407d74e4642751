#include "XmlTestSupport.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using xml_test::load;

std::string tagOf(ClsXml* e) {
    return e ? std::string(e->tag()) : std::string("(null)");
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
