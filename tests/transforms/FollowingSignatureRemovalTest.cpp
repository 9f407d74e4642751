#include "support/Signing.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace test_support;

// The enveloped-signature transform cuts the signature and the signatures
// written directly behind it: whitespace or another element ends the run,
// and an unprefixed follower reaches the last end tag of its name.
TEST(FollowingSignatureRemoval, AdjacentSignaturesGoWithTheFirst) {
    const std::string root = "<r xmlns:p=\"urn:p\">";
    const std::pair<std::string, std::string> cases[] = {
        {"<p:Signature>b</p:Signature>", ""},
        {"\n<p:Signature>b</p:Signature>", "\n<p:Signature>b</p:Signature>"},
        {"<p:Object/>", "<p:Object></p:Object>"},
        {"<p:Signed>z</p:Signed>", "<p:Signed>z</p:Signed>"},
        {"<Signature>b</Signature><keep/><Signature>c</Signature>", ""},
    };
    for (const auto& [following, kept] : cases) {
        SCOPED_TRACE(following);
        const std::string ref = referenceXml("", sha256Of(root + kept + "</r>"), {std::string(kEnveloped)});
        std::string doc = replaced(documentWithReferences("", ref), "<doc>", root);
        doc = replaced(doc, "</Signature></doc>", "</Signature>" + following + "</r>");
        ClsXmlDSig dsig;
        ASSERT_TRUE(loadXml(dsig, doc));
        EXPECT_FALSE(dsig.VerifySignature(true));
        ASSERT_EQ(dsig.report().references.size(), 1u);
        EXPECT_TRUE(dsig.report().references[0].matched);
    }
}

} // namespace
