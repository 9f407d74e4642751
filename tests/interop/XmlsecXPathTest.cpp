// Documents that xmlsec1 signs at test time with XPath and XPath Filter 2.0
// transforms that no recognised form matches verify through the evaluator,
// and so do references by "#xpointer(/)" and "#xpointer(id('x'))", which keep
// the comments of their node-set: a change in what is selected breaks them,
// a change in what they leave out does not, and the node budget stops an
// evaluation.
#include "support/Signing.h"

#include <gtest/gtest.h>

#include <tuple>

namespace {

using namespace test_support;

constexpr const char* kSecret = "xpath secret";

// A text of the signed document, what it becomes, and whether the
// signature still verifies then.
using Twin = std::tuple<const char*, const char*, bool>;

struct XPathCase {
    const char* name;
    const char* uri;
    std::string transforms;
    std::vector<Twin> twins;
    bool retried = false; // a recognised form misreads it: evaluated as a further attempt
};

std::string xpath(const std::string& expression) {
    return xpathTransform(expression, " xmlns:dsig=\"" + std::string(kDsigNs) + "\"");
}

std::string filter2(const std::vector<std::pair<const char*, const char*>>& steps) {
    std::string t = "<Transform Algorithm=\"" + std::string(kFilter2) + "\">";
    for (const auto& [filter, expression] : steps)
        t += "<XPath xmlns=\"" + std::string(kFilter2) + "\" xmlns:a=\"urn:a\" xmlns:dsig=\"" + std::string(kDsigNs) +
             "\" Filter=\"" + filter + "\">" + expression + "</XPath>";
    return t + "</Transform>";
}

std::string transform(std::string_view algorithm) {
    return "<Transform Algorithm=\"" + std::string(algorithm) + "\"/>";
}

// Every XPath case selects the item and leaves out the skip element; the
// processing instruction before the root is kept by some.
const std::vector<Twin> kItem = {
    {">Hello<", ">Hellp<", false}, {"amount=\"100\"", "amount=\"900\"", false}, {"free text", "free texT", true}};
std::vector<Twin> withInstruction(bool kept) {
    std::vector<Twin> twins = kItem;
    twins.emplace_back("keep this", "keep thus", !kept);
    return twins;
}
const std::vector<Twin> kXPointer = {{"<!-- c2 -->", "<!-- cX -->", false}, {">Hello<", ">Hellp<", false}};
const std::string kSubtractSignature = filter2({{"subtract", "//dsig:Signature"}});
const std::string kC14nWithComments = transform(std::string(kC14n) + "#WithComments");
const std::string kExcC14nWithComments = transform(std::string(kExcC14n) + "WithComments");

// The second case's expression is one a recognised form takes for "no
// signatures", so it needs the retry.
const XPathCase kCases[] = {
    {"XPathThenInclusive", "",
     xpath("count(ancestor-or-self::dsig:Signature | ancestor-or-self::skip) = 0") + transform(kC14n),
     withInstruction(true)},
    {"XPathThenExclusive", "",
     xpath("not(ancestor-or-self::skip) and count(ancestor-or-self::dsig:Signature) &lt; 1") + transform(kExcC14n),
     withInstruction(true), true},
    {"XPathAttributesAndText", "",
     xpath("ancestor-or-self::data and not(ancestor-or-self::skip) and "
           "(self::* or self::text() or (self::node()[name() = 'amount']))"),
     withInstruction(false)},
    {"Filter2IntersectSubtract", "", filter2({{"intersect", "//data"}, {"subtract", "//skip"}}) + transform(kC14n),
     withInstruction(false)},
    {"Filter2SubtractThenUnion", "",
     filter2({{"subtract", "/doc"}, {"union", "//a:item"}}) + transform(std::string(kEnveloped)) + transform(kExcC14n),
     withInstruction(true)},
    {"XPointerRootSubtract", "#xpointer(/)", kSubtractSignature + kExcC14nWithComments, kXPointer},
    {"XPointerRootEnveloped", "#xpointer(/)", transform(kEnveloped) + kC14nWithComments, kXPointer},
    {"XPointerIdSubtract", "#xpointer(id('d1'))", kSubtractSignature + kExcC14nWithComments, kXPointer},
    {"XPointerId", "#xpointer(id('d1'))", kC14nWithComments, kXPointer},
};

// An XPointer by id needs the Id declared an ID; XPath cases get no DTD.
std::string documentTemplate(const XPathCase& c) {
    const bool xpointer = std::string_view(c.uri).starts_with("#xpointer");
    return std::string(xpointer ? "<!DOCTYPE doc [<!ATTLIST data Id ID #IMPLIED>]>\n<doc><!-- c1 --><data Id=\"d1\">"
                                  "<!-- c2 --><item>Hello</item></data>"
                                : "<?keep this?>\n<doc xmlns:a=\"urn:a\"><data Id=\"d1\"><a:item amount=\"100\">"
                                  "Hello</a:item><skip>free text</skip></data><other>outside</other>") +
           "<Signature xmlns=\"" + std::string(kDsigNs) + "\"><SignedInfo><CanonicalizationMethod Algorithm=\"" +
           std::string(kC14n) + "\"/><SignatureMethod Algorithm=\"http://www.w3.org/2000/09/xmldsig#hmac-sha1\"/>" +
           "<Reference URI=\"" + c.uri + "\"><Transforms>" + c.transforms + "</Transforms><DigestMethod Algorithm=\"" +
           std::string(kSha256) + "\"/><DigestValue/></Reference></SignedInfo><SignatureValue/></Signature></doc>" +
           (xpointer ? "" : "\n<!-- after -->");
}

bool verifies(const std::string& doc, const std::string& options = "", bool* retried = nullptr) {
    ClsXmlDSig dsig;
    EXPECT_TRUE(loadXml(dsig, doc));
    useHmacSecret(dsig, kSecret);
    if (!options.empty())
        dsig.put_VerifyOptions(XString(options));
    const bool ok = dsig.VerifySignature(true);
    if (retried)
        *retried = usedAttempt(dsig, FurtherAttempt::EveryXPathEvaluated, 0);
    return ok;
}

class XmlsecXPath : public ::testing::TestWithParam<XPathCase> {};

TEST_P(XmlsecXPath, SelectedContentIsSignedAndTheRestIsNot) {
    const XPathCase& c = GetParam();
    const std::string doc = HmacSigning(kSecret).sign(documentTemplate(c));
    ASSERT_FALSE(doc.empty());
    bool retried = false;
    EXPECT_TRUE(verifies(doc, "", &retried));
    EXPECT_EQ(retried, c.retried);
    for (const auto& [from, to, stillVerifies] : c.twins)
        EXPECT_EQ(verifies(replaced(doc, from, to)), stillVerifies) << to;
}

TEST(XmlsecXPath, TheNodeBudgetStopsTheEvaluation) {
    const std::string doc = HmacSigning(kSecret).sign(documentTemplate(kCases[0]));
    ASSERT_FALSE(doc.empty());
    ClsXmlDSig limited;
    ASSERT_TRUE(loadXml(limited, doc));
    useHmacSecret(limited, kSecret);
    limited.put_VerifyOptions(XString("{\"MaxXPathNodes\": 20}"));
    EXPECT_FALSE(limited.VerifySignature(true));
    ASSERT_TRUE(limited.report().limit);
    EXPECT_EQ(limited.report().limit->option, "MaxXPathNodes");
    EXPECT_EQ(limited.report().limit->limit, 20u);
    EXPECT_TRUE(verifies(doc, "{\"MaxXPathNodes\": 100000}"));
}

void PrintTo(const XPathCase& c, std::ostream* os) {
    *os << c.name;
}

INSTANTIATE_TEST_SUITE_P(Transforms, XmlsecXPath, ::testing::ValuesIn(kCases),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace
