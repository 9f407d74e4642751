// The scanner through the tree that reads with it.
#include "XmlTestSupport.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using xml_test::firstError;

TEST(XmlScanner, RejectsMalformedDocumentsWithOneReason) {
    struct Case {
        const char* text;
        const char* reason;
    };
    const Case cases[] = {
        {"", "document is empty"},
        {"<?xml version=\"1.0\"?>", "no root element"},
        {"<a><b></a>", "mismatched end tag: expected </b>"},
        {"<a>", "premature end of document: missing </a>"},
        {"<a></a></a>", "extra content after the root element"},
        {"<a/><b/>", "extra content after the root element"},
        {"<a/>text", "text is not allowed after the root element"},
        {"text<a/>", "text is not allowed before the root element"},
        {"<a b='1' b='2'/>", "duplicate attribute 'b'"},
        {"<a x1='' x2='' x3='' x4='' x5='' x6='' x7='' x8='' x9='' x3=''/>", "duplicate attribute 'x3'"},
        {"<a b='1'c='2'/>", "whitespace required between attributes"},
        {"<a b=1/>", "attribute value must be quoted"},
        {"<a b='<'/>", "'<' not allowed in attribute values"},
        {"<a b='x/>", "unterminated attribute value"},
        {"<1a/>", "invalid element name"},
        {"<\xC2\xB7"
         "a/>",
         "invalid element name"}, // U+00B7 may follow, not start, a name
        {"<a>]]></a>", "']]>' is not allowed in content"},
        {"<a><!-- x -- y --></a>", "'--' is not allowed inside a comment"},
        {"<a><!-- x ---></a>", "'--' is not allowed inside a comment"},
        {"<a><!-- x </a>", "unterminated comment"},
        {"<a><![CDATA[x</a>", "unterminated CDATA section"},
        {"<![CDATA[x]]><a/>", "unexpected markup before the root element"},
        {" <?xml version=\"1.0\"?><a/>", "XML declaration allowed only at the start of the document"},
        {"<a><?xml version=\"1.0\"?></a>", "XML declaration allowed only at the start of the document"},
        {"<a><?XmL x?></a>", "reserved processing-instruction target"},
        {"<?xml version=\"2.0\"?><a/>", "unsupported XML version '2.0'"},
        {"<?xml encoding=\"UTF-8\"?><a/>", "the XML declaration must give the version first"},
        {"<?xml version=\"1.0\" standalone=\"maybe\"?><a/>", "standalone must be 'yes' or 'no'"},
        {"<a>&#0;</a>", "character reference to illegal character U+0000"},
        {"<a>&#xD800;</a>", "character reference to illegal character U+D800"},
        {"<a>&#x110000;</a>", "character reference out of range"},
        {"<a>&#12a;</a>", "malformed character reference"},
        {"<a>&amp</a>", "'&' must start a reference"},
        {"<a>a & b</a>", "'&' must start a reference"},
        {"<a>&nope;</a>", "undefined entity 'nope'"},
        {"<a>\x01</a>", "illegal character U+0001"},
        {"<a>\xEF\xBF\xBE</a>", "illegal character U+FFFE"},
        {"<a>\xC0\xAF</a>", "invalid UTF-8 byte sequence"},  // overlong '/'
        {"<a>\xED\xA0\x80</a>", "illegal character U+D800"}, // encoded surrogate
        {"<a>\xE2\x82</a>", "invalid UTF-8 byte sequence"},  // truncated sequence
        {"<!DOCTYPE a><!DOCTYPE a><a/>", "only one DOCTYPE declaration is allowed"},
        {"<!DOCTYPE html PUBLIC \"-//W3C//DTD HTML 4.0//EN\"><a/>", "whitespace required"},
    };
    for (const Case& c : cases)
        EXPECT_NE(firstError(c.text).find(c.reason), std::string::npos) << c.text << " -> " << firstError(c.text);
}

TEST(XmlScanner, AcceptsWhatXmlAllowsButLooksOdd) {
    const char* accepted[] = {
        "<a:b/>", // undeclared prefix: a namespace error only
        "<a xmlns:xml='http://www.w3.org/XML/1998/namespace' xmlns:p='foo' xml:lang='en'/>",
        "<a xmlns:a='urn:a' xmlns:b='urn:b' xmlns='urn:a'><e a:z='1' b:z='2' z='3' xml:z='4'/></a>",
        "<a:b:c/>",                  // not a QName, still a Name
        "<a b='>' c=\"'\"/>",        // '>' and the other quote inside a value
        "<?xml version='1.1'?><a/>", // later 1.x versions are read as 1.0
        "<?xml version = '1.0' encoding = 'x-y_z.1' standalone = 'no' ?><a/>",
        ("<été ñ='1'><a\xC2\xB7"
         "b/></été>"),                          // non-ASCII name characters
        "<a>\x7F\xC2\x80 \xF4\x8F\xBF\xBF</a>", // DEL, C1 controls and U+10FFFF are characters
        "<a>]] ]> ]]</a>",
        "<a><!----></a>",
        "<a><?p?><?q-r data ?></a>",
        "<a></a \n>",
        "\xEF\xBB\xBF<a/>", // one byte-order mark
        "<!-- c --><?pi?>\n<a/>\n<!-- c --><?pi?>\n",
    };
    for (const char* text : accepted) {
        LogBase log;
        EXPECT_TRUE(xml_test::load(text, log)) << text << ": " << log.firstError();
    }
}

TEST(XmlScanner, ErrorNamesLineAndColumn) {
    EXPECT_EQ(firstError("<a>\n  <b>\n</c>"), "XML parse error at line 3, column 1: mismatched end tag: expected </b>");
    // Columns count characters, not bytes.
    EXPECT_EQ(firstError("<a>\n\xC3\xA9\xC3\xA9<b x='<'/></a>"),
              "XML parse error at line 2, column 9: '<' not allowed in attribute values");
    EXPECT_EQ(firstError("<a>\r\n\r\n &bad;</a>"), "XML parse error at line 3, column 2: undefined entity 'bad'");
}

TEST(XmlScanner, DepthIsBoundedWithoutRecursion) {
    auto nested = [](int levels) {
        std::string s;
        for (int i = 0; i < levels; ++i)
            s += "<e>";
        for (int i = 0; i < levels; ++i)
            s += "</e>";
        return s;
    };
    EXPECT_TRUE(xml_test::load(nested(256)));
    EXPECT_NE(firstError(nested(257)).find("elements nested deeper than 256 levels"), std::string::npos);
    EXPECT_NE(firstError(nested(100000)).find("elements nested deeper than 256 levels"), std::string::npos);
}

TEST(XmlScanner, ManyAttributesAreCheckedForDuplicatesQuickly) {
    std::string doc = "<a";
    for (int i = 0; i < 50000; ++i)
        doc += " a" + std::to_string(i) + "=''";
    EXPECT_TRUE(xml_test::load(doc + "/>"));
    EXPECT_NE(firstError(doc + " a49999=''/>").find("duplicate attribute 'a49999'"), std::string::npos);
}

} // namespace
