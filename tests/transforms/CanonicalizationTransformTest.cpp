#include "companion/log/LogBase.h"
#include "companion/xml/ClsXml.h"
#include "references/DigestAttempt.h"
#include "verifier/ClsXmlDSig.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct Result {
    bool ok;
    std::string text;
};

Result canonicalize(ClsXmlDSig& v, const DigestAttempt& attempt, const std::string& xml, const std::string& algorithm,
                    const std::string& uri = "", const std::string& transformXml = "") {
    LogNull log;
    RefPtr<ClsXml> transform;
    if (!transformXml.empty()) {
        transform.reset(ClsXml::createNewCls());
        EXPECT_TRUE(transform->loadXml(std::string_view(transformXml), false, log));
    }
    StringBuffer text(xml), alg(algorithm), u(uri);
    const bool ok = v.transformCanonicalize(transform.get(), text, alg, u, attempt, log);
    return {ok, std::string(text.view())};
}

TEST(CanonicalizationTransform, StpDocumentIsCutOutOfItsWrapper) {
    ClsXmlDSig v;
    DigestAttempt stp;
    stp.stpDocumentOnly = true;
    const std::string doc = "<?xml version=\"1.0\"?><!--x--><Wrap><Document xmlns=\"urn:cma:stp:xsd:stp.1.0\">"
                            "<a/></Document><Sig/></Wrap>";
    EXPECT_EQ(canonicalize(v, stp, doc, "c14n").text, "<Document xmlns=\"urn:cma:stp:xsd:stp.1.0\"><a></a></Document>");
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

} // namespace
