// The evaluator against libxml2's XPath on one document with namespaces,
// mixed content, comments and processing instructions: every expression's
// string, number and boolean results must agree. The document avoids where
// libxml2 departs from XPath 1.0: text next to a CDATA section (two nodes
// there), xmlns="" (a namespace node there), the following axis of an
// attribute (without its element's content there), identifiers (only
// DTD-declared ones there) and numbers as text (15 digits there).
#include "companion/xpath/XPathEvaluator.h"
#include "companion/xml/XmlDocument.h"
#include "companion/xpath/XPathTree.h"

#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <string>

namespace {

constexpr const char* kDoc = "<r:root xmlns:r=\"urn:r\" xmlns=\"urn:d\" xml:lang=\"en-GB\" id=\"top\">"
                             "<a n=\"1\">one<!--c1--><b r:k=\"x\">two</b>three</a>"
                             "<a n=\"2\">tail &amp; more<e/><![CDATA[cd&<]]></a>"
                             "<?pi some data?>"
                             "<c xmlns:s=\"urn:s\"><s:d id=\"d1\">4</s:d><d>5.5</d><d> -2 </d></c>"
                             "</r:root>";

// Each is evaluated at the root and read as string, number and boolean.
const char* const kExpressions[] = {
    "count(//node())",
    "count(//*)",
    "count(//@*)",
    "count(//namespace::*)",
    "count(//text())",
    "count(//comment()) + count(//processing-instruction('pi'))",
    "string(/r:root/dd:a[2])",
    "string(//dd:a[last()]/@n)",
    "name(/*)",
    "local-name(//s:*)",
    "namespace-uri(//s:d)",
    "string(//dd:b/ancestor::*[1]/@n)",
    "string(//dd:b/ancestor-or-self::*[last()]/@id)",
    "count(//dd:b/preceding::node())",
    "count(//dd:b/following::node())",
    "count(//dd:a[1]/following-sibling::*)",
    "string(//dd:d[2]/preceding-sibling::*[1])",
    "count(//dd:b/@r:k/ancestor::*)",
    "sum(//dd:c/*)",
    "sum(//dd:d) div 2",
    "floor(-1.5) + ceiling(1.2) + round(2.5) + round(-2.5)",
    "7 mod 3 - -1",
    "substring('12345', 1.5, 2.6)",
    "substring-before('a/b/c', '/')",
    "substring-after('a/b/c', '/')",
    "translate('abcabc', 'abc', 'AB')",
    "normalize-space('  a   b  ')",
    "concat(string-length('abc'), starts-with('abc', 'ab'), contains('abc', 'd'))",
    "//dd:a/@n = 2",
    "//dd:a/@n != 1",
    "//dd:a/@n < //dd:d",
    "//dd:d = ' -2 '",
    "lang('en')",
    "//dd:a[@n='1']/dd:b = 'two'",
    "count(//*[not(self::dd:a) and @*])",
    "boolean(//dd:a[position() = 2 and @n = 2])",
    "number('  12 ') + number('x')",
    "1 div 0",
    "count(/descendant-or-self::node()[self::text() or self::comment()])",
    "count(//dd:a | //dd:d | //dd:a)",
    "(//dd:a)[2]/@n * 10",
    "count(//*[count(ancestor::*) = 2])",
};

struct LibxmlDoc {
    xmlDocPtr doc = nullptr;
    ~LibxmlDoc() { xmlFreeDoc(doc); }
};

struct Oracle {
    std::string string;
    double number;
    bool boolean;
};

Oracle libxml2Evaluate(xmlDocPtr doc, const std::string& expression) {
    std::unique_ptr<xmlXPathContext, decltype(&xmlXPathFreeContext)> ctx(xmlXPathNewContext(doc), xmlXPathFreeContext);
    xmlXPathRegisterNs(ctx.get(), BAD_CAST "r", BAD_CAST "urn:r");
    xmlXPathRegisterNs(ctx.get(), BAD_CAST "dd", BAD_CAST "urn:d");
    xmlXPathRegisterNs(ctx.get(), BAD_CAST "s", BAD_CAST "urn:s");
    auto eval = [&](const std::string& wrapped) {
        return std::unique_ptr<xmlXPathObject, decltype(&xmlXPathFreeObject)>(
            xmlXPathEvalExpression(BAD_CAST wrapped.c_str(), ctx.get()), xmlXPathFreeObject);
    };
    Oracle o{};
    auto s = eval("string(" + expression + ")");
    if (s && s->stringval)
        o.string = reinterpret_cast<const char*>(s->stringval);
    auto n = eval("number(" + expression + ")");
    o.number = n ? n->floatval : 0;
    auto b = eval("boolean(" + expression + ")");
    o.boolean = b && b->boolval;
    return o;
}

bool sameNumber(double a, double b) {
    return (std::isnan(a) && std::isnan(b)) || a == b;
}

TEST(XPathEvaluator, AgreesWithLibxml2OnEveryAxisFunctionAndComparison) {
    LibxmlDoc oracleDoc;
    oracleDoc.doc = xmlReadMemory(kDoc, static_cast<int>(std::strlen(kDoc)), nullptr, nullptr, 0);
    ASSERT_NE(oracleDoc.doc, nullptr);
    std::string error;
    auto doc = XmlDocument::parse(SharedText::ofString(std::string(kDoc)), false, error);
    ASSERT_TRUE(doc) << error;
    const XPathTree tree(*doc);
    const XPathPrefixResolver resolve = [](std::string_view prefix, std::string& uri) {
        uri = prefix == "r" ? "urn:r" : prefix == "dd" ? "urn:d" : prefix == "s" ? "urn:s" : "";
        return !uri.empty();
    };
    for (const char* expression : kExpressions) {
        SCOPED_TRACE(expression);
        const Oracle expected = libxml2Evaluate(oracleDoc.doc, expression);
        XPathEvaluator evaluator(tree, 1'000'000);
        for (const char* wrap : {"string", "number", "boolean"}) {
            const std::string wrapped = std::string(wrap) + "(" + expression + ")";
            const XPathExprPtr e = parseXPath(wrapped, resolve, error);
            ASSERT_TRUE(e) << error;
            const XPathValue v = evaluator.evaluate(*e, tree.root());
            if (v.type == XPathValue::Type::String)
                EXPECT_EQ(v.string, expected.string);
            else if (v.type == XPathValue::Type::Number)
                EXPECT_TRUE(sameNumber(v.number, expected.number)) << v.number << " vs " << expected.number;
            else
                EXPECT_EQ(v.boolean, expected.boolean);
        }
        EXPECT_FALSE(evaluator.exhausted());
    }
}

TEST(XPathEvaluator, RefusesWhatIsNotXPathOneAndStopsAtTheBudget) {
    std::string error;
    const XPathPrefixResolver none = [](std::string_view, std::string&) { return false; };
    for (const char* bad : {"", "a[", "foo(1)", "$v", "x:y", "1 +", "'open", "a::b", "//", "@"})
        EXPECT_FALSE(parseXPath(bad, none, error)) << bad;
    EXPECT_FALSE(parseXPath(std::string(100'000, '(') + "1" + std::string(100'000, ')'), none, error));
    EXPECT_FALSE(parseXPath(std::string(100'000, '-') + "1", none, error));
    EXPECT_TRUE(parseXPath(std::string(50, '(') + "1" + std::string(50, ')'), none, error)) << error;

    auto doc = XmlDocument::parse(SharedText::ofString(std::string(kDoc)), false, error);
    ASSERT_TRUE(doc);
    const XPathTree tree(*doc);
    const XPathExprPtr quadratic = parseXPath("count(//node()[count(//node()) > 0])", none, error);
    ASSERT_TRUE(quadratic) << error;
    XPathEvaluator bounded(tree, 200);
    bounded.evaluate(*quadratic, tree.root());
    EXPECT_TRUE(bounded.exhausted());
    EXPECT_LE(bounded.visited(), 200u + tree.size());
}

} // namespace
