// The node-set an XPath transform keeps, canonicalized, against libxml2:
// the same expression evaluated there over every node, as XML-DSig does,
// and the node-set given to its C14N (inclusive and exclusive, with and
// without comments). The expressions leave out elements while keeping their
// content, namespace nodes and attributes one by one, and xml:* attributes.
// Compared only where libxml2 and the XML-DSig test vectors agree: a prefix
// that an attribute uses keeps its namespace node in the set (libxml2's
// exclusive mode declares it even when its node is left out), and no
// xmlns="" (a namespace node in libxml2), and the document element in the
// set when a comment or processing instruction inside it is (libxml2 puts
// them on lines of their own until it has written an element).
#include "transforms/XPathNodeSet.h"
#include "companion/log/LogBase.h"

#include <gtest/gtest.h>
#include <libxml/c14n.h>
#include <libxml/parser.h>
#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include <memory>
#include <string>

namespace {

constexpr const char* kXPathNs = "http://www.w3.org/2000/09/xmldsig#";

// The XPath element carries the expression and the prefix p in its scope.
std::string documentWith(std::string expression) {
    for (size_t at = 0; (at = expression.find('>', at)) != std::string::npos;)
        expression.replace(at, 1, "&gt;");
    return "<?before pi?>\n<p:root xmlns:p=\"urn:p\" xmlns=\"urn:d\" xmlns:q=\"urn:q\" xml:lang=\"en\" a=\"1\">"
           "<p:keep q:at=\"x\" b=\"2\">text &amp; &lt;more&gt;<!-- note --><inner xml:space=\"preserve\">"
           "<p:leaf c=\"3\">leaf</p:leaf></inner></p:keep>"
           "<drop><p:keep>kept in dropped</p:keep><?inside data?></drop>"
           "<ds:XPath xmlns:ds=\"" +
           std::string(kXPathNs) + "\">" + expression + "</ds:XPath></p:root>\n<!-- after -->";
}

const char* const kExpressions[] = {
    "not(self::comment())",
    "not(ancestor-or-self::drop)",
    "not(self::p:keep) and not(self::comment())",
    "not(self::*[@xml:space]) and not(self::p:root)",
    "ancestor-or-self::p:keep and (count(. | ../namespace::*) != count(../namespace::*) or name() = 'q') or "
    "self::text()",
    "not(count(. | ../@*) = count(../@*) and name() = 'b') and not(name() = '' and ../@xml:space)",
    "count(ancestor::*) > 1 or self::processing-instruction() or self::p:root",
    "ancestor-or-self::p:leaf or parent::p:keep or self::p:root",
};

std::string libxml2Canonical(const std::string& doc, const std::string& expression, int mode, bool comments) {
    xmlDocPtr d = xmlReadMemory(doc.data(), static_cast<int>(doc.size()), nullptr, nullptr, 0);
    EXPECT_NE(d, nullptr);
    std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> owned(d, xmlFreeDoc);
    std::unique_ptr<xmlXPathContext, decltype(&xmlXPathFreeContext)> ctx(xmlXPathNewContext(d), xmlXPathFreeContext);
    xmlXPathRegisterNs(ctx.get(), BAD_CAST "p", BAD_CAST "urn:p");
    const std::string all = "(//. | //@* | //namespace::*)[" + expression + "]";
    std::unique_ptr<xmlXPathObject, decltype(&xmlXPathFreeObject)> set(
        xmlXPathEvalExpression(BAD_CAST all.c_str(), ctx.get()), xmlXPathFreeObject);
    EXPECT_TRUE(set && set->type == XPATH_NODESET) << all;
    xmlChar* out = nullptr;
    const int n = xmlC14NDocDumpMemory(d, set->nodesetval, mode, nullptr, comments ? 1 : 0, &out);
    EXPECT_GE(n, 0);
    std::string text(reinterpret_cast<const char*>(out), n < 0 ? 0 : static_cast<size_t>(n));
    xmlFree(out);
    return text;
}

TEST(XPathNodeSet, CanonicalFormOfTheSelectedNodesIsLibxml2s) {
    for (const char* expression : kExpressions) {
        SCOPED_TRACE(expression);
        const std::string doc = documentWith(expression);
        XPathNodeSet nodes;
        LogBase log;
        // xpointer(/) keeps comments in the input, as the expressions see them.
        ASSERT_TRUE(nodes.load(doc, nullptr, "#xpointer(/)", false, log));
        ASSERT_TRUE(nodes.applyXPath(expression, log));
        for (const bool exclusive : {false, true}) {
            for (const bool comments : {false, true}) {
                NodeSetCanon::Options options;
                options.exclusive = exclusive;
                options.withComments = comments;
                std::string ours;
                nodes.render(options, ours);
                EXPECT_EQ(ours, libxml2Canonical(doc, expression, exclusive ? XML_C14N_EXCLUSIVE_1_0 : XML_C14N_1_0,
                                                 comments))
                    << (exclusive ? "exclusive" : "inclusive") << (comments ? " with comments" : "");
            }
        }
    }
}

} // namespace
