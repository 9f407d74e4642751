#include "companion/log/LogBase.h"
#include "companion/xml/ClsXml.h"
#include "verifier/ClsXmlDSig.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// Opens the profile switches that the transform reads.
class Verifier : public ClsXmlDSig {
public:
    using _clsXmlDSigBase::m_dupC14nSortBug;
    using _clsXmlDSigBase::m_isCmaStp;
};

struct Result {
    bool ok;
    std::string text;
};

Result canonicalize(Verifier& v, const std::string& xml, const std::string& algorithm, const std::string& uri = "",
                    const std::string& transformXml = "") {
    LogNull log;
    RefPtr<ClsXml> transform;
    if (!transformXml.empty()) {
        transform.reset(ClsXml::createNewCls());
        EXPECT_TRUE(transform->loadXml(std::string_view(transformXml), false, log));
    }
    StringBuffer text(xml), alg(algorithm), u(uri);
    const bool ok = v.transformCanonicalize(transform.get(), text, alg, u, log);
    return {ok, std::string(text.view())};
}

constexpr const char* kDoc = "<r xmlns:a=\"urn:a\" xmlns:b=\"urn:b\"><!--c--><x Id=\"f\" b:z=\"1\" a:y=\"2\"/></r>";

TEST(CanonicalizationTransform, AlgorithmTextChoosesModeAndComments) {
    Verifier v;
    EXPECT_EQ(canonicalize(v, kDoc, "http://www.w3.org/TR/2001/REC-xml-c14n-20010315").text,
              "<r xmlns:a=\"urn:a\" xmlns:b=\"urn:b\"><x Id=\"f\" a:y=\"2\" b:z=\"1\"></x></r>");
    EXPECT_EQ(canonicalize(v, kDoc, "http://www.w3.org/TR/2001/REC-xml-c14n-20010315#withcomments").text,
              "<r xmlns:a=\"urn:a\" xmlns:b=\"urn:b\"><!--c--><x Id=\"f\" a:y=\"2\" b:z=\"1\"></x></r>");
    EXPECT_EQ(canonicalize(v, kDoc, "http://www.w3.org/2001/10/xml-exc-c14n#", "f").text,
              "<x xmlns:a=\"urn:a\" xmlns:b=\"urn:b\" Id=\"f\" a:y=\"2\" b:z=\"1\"></x>");
}

TEST(CanonicalizationTransform, InclusivePrefixListOnlyForExclusive) {
    Verifier v;
    const std::string doc = "<r xmlns:a=\"urn:a\" xmlns:b=\"urn:b\" xmlns:c=\"urn:c\"><x Id=\"f\"/></r>";
    const std::string transform =
        "<ds:Transform xmlns:ds=\"http://www.w3.org/2000/09/xmldsig#\"><ec:InclusiveNamespaces "
        "xmlns:ec=\"http://www.w3.org/2001/10/xml-exc-c14n#\" PrefixList=\"a c\"/></ds:Transform>";
    EXPECT_EQ(canonicalize(v, doc, "http://www.w3.org/2001/10/xml-exc-c14n#", "f", transform).text,
              "<x xmlns:a=\"urn:a\" xmlns:c=\"urn:c\" Id=\"f\"></x>");
    EXPECT_EQ(canonicalize(v, doc, "http://www.w3.org/TR/2001/REC-xml-c14n-20010315", "f", transform).text,
              "<x xmlns:a=\"urn:a\" xmlns:b=\"urn:b\" xmlns:c=\"urn:c\" Id=\"f\"></x>");
}

TEST(CanonicalizationTransform, SortBugProfileOrdersAttributesByWrittenName) {
    // Namespace-URI order puts a:y (urn:z) after b:z (urn:m); written-name order puts it first.
    const std::string doc = "<r xmlns:a=\"urn:z\" xmlns:b=\"urn:m\"><x b:z=\"1\" a:y=\"2\"/></r>";
    Verifier plain;
    EXPECT_NE(canonicalize(plain, doc, "c14n").text.find("<x b:z=\"1\" a:y=\"2\">"), std::string::npos);
    Verifier buggy;
    buggy.m_dupC14nSortBug = true;
    EXPECT_NE(canonicalize(buggy, doc, "c14n").text.find("<x a:y=\"2\" b:z=\"1\">"), std::string::npos);
}

TEST(CanonicalizationTransform, EbicsJoinsEveryAuthenticatedElement) {
    Verifier v;
    const std::string doc = "<ebicsRequest><header authenticate=\"true\"><a/></header><body>"
                            "<x authenticate=\"false\"/><y authenticate=\"true\">t</y></body></ebicsRequest>";
    const Result r =
        canonicalize(v, doc, "http://www.w3.org/TR/2001/REC-xml-c14n-20010315", "#xpointer(//*[@authenticate='true'])");
    ASSERT_TRUE(r.ok);
    EXPECT_EQ(r.text, "<header authenticate=\"true\"><a></a></header><y authenticate=\"true\">t</y>");
    EXPECT_EQ(canonicalize(v, doc, "c14n", "EBICS").text, r.text);

    const std::string none = "<ebicsRequest><header/></ebicsRequest>";
    const Result failed = canonicalize(v, none, "c14n", "#xpointer(//*[@authenticate='true'])");
    EXPECT_FALSE(failed.ok);
    EXPECT_EQ(failed.text, none);
}

TEST(CanonicalizationTransform, StpDocumentIsCutOutOfItsWrapper) {
    Verifier v;
    v.m_isCmaStp = true;
    const std::string doc = "<?xml version=\"1.0\"?><!--x--><Wrap><Document xmlns=\"urn:cma:stp:xsd:stp.1.0\">"
                            "<a/></Document><Sig/></Wrap>";
    EXPECT_EQ(canonicalize(v, doc, "c14n").text, "<Document xmlns=\"urn:cma:stp:xsd:stp.1.0\"><a></a></Document>");
}

TEST(CanonicalizationTransform, MalformedTextFailsAndStaysAsItWas) {
    Verifier v;
    LogBase log;
    StringBuffer text("<r><x></r>"), alg("c14n"), uri;
    log.enterContext("test");
    EXPECT_FALSE(v.transformCanonicalize(nullptr, text, alg, uri, log));
    log.leaveContext();
    EXPECT_EQ(text.view(), "<r><x></r>");
    EXPECT_NE(log.renderText().find("Failed to canonicalize XML fragment."), std::string::npos);
}

TEST(CanonicalizationEntryPoints, VersionTextSelectsTheMode) {
    ClsXmlDSig dsig;
    XString xml("<r xmlns:u=\"urn:unused\"><x Id=\"f\">t</x></r>"), fragment("f"), prefixes(""), out;
    XString exclusive("  EXCL_C14N "), longer("excl_c14n11"), empty("");
    ASSERT_TRUE(dsig.CanonicalizeFragment(xml, fragment, exclusive, prefixes, false, out));
    EXPECT_EQ(out.view(), "<x Id=\"f\">t</x>");
    ASSERT_TRUE(dsig.CanonicalizeFragment(xml, fragment, longer, prefixes, false, out));
    EXPECT_EQ(out.view(), "<x xmlns:u=\"urn:unused\" Id=\"f\">t</x>");
    XString none("");
    ASSERT_TRUE(dsig.CanonicalizeFragment(xml, none, empty, prefixes, false, out));
    EXPECT_EQ(out.view(), "<r xmlns:u=\"urn:unused\"><x Id=\"f\">t</x></r>");
    ASSERT_TRUE(dsig.CanonicalizeXml(xml, exclusive, false, out));
    EXPECT_EQ(out.view(), "<r><x Id=\"f\">t</x></r>");
}

TEST(CanonicalizationEntryPoints, PrefixListIsLoggedAndIgnoredForInclusive) {
    ClsXmlDSig dsig;
    XString xml("<r xmlns:u=\"urn:unused\"><x Id=\"f\"/></r>"), fragment("f"), prefixes("u"), out;
    XString inclusive("c14n"), exclusive("excl_c14n");
    ASSERT_TRUE(dsig.CanonicalizeFragment(xml, fragment, exclusive, prefixes, false, out));
    EXPECT_EQ(out.view(), "<x xmlns:u=\"urn:unused\" Id=\"f\"></x>");
    ASSERT_TRUE(dsig.CanonicalizeFragment(xml, fragment, inclusive, prefixes, false, out));
    EXPECT_NE(dsig.lastErrorText().find("prefixList: u"), std::string::npos);
}

} // namespace
