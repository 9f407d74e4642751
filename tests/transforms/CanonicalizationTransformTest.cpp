#include "support/Signing.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace test_support;

// A CMA STP document is digested without the wrapper it travels in.
TEST(CanonicalizationTransform, StpDocumentIsCutOutOfItsWrapper) {
    const std::string stp = "<Document xmlns=\"urn:cma:stp:xsd:stp.1.0\"><a></a></Document>";
    const std::string ref = referenceXml("", sha256Of(stp), {std::string(kC14n)});
    for (const auto& [content, matched] :
         {std::pair{std::string("<Document xmlns=\"urn:cma:stp:xsd:stp.1.0\"><a/></Document>"), true},
          {std::string("<Document xmlns=\"urn:cma:stp:xsd:stp.1.0\"><b/></Document>"), false}}) {
        ClsXmlDSig dsig;
        ASSERT_TRUE(loadXml(dsig, "<?xml version=\"1.0\"?><!--x-->" + documentWithReferences(content, ref)));
        EXPECT_FALSE(dsig.VerifySignature(true));
        ASSERT_EQ(dsig.report().references.size(), 1u);
        EXPECT_EQ(dsig.report().references[0].matched, matched) << content;
    }
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
