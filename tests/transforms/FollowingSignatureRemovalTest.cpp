#include "support/Signing.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace test_support;

// Distinct prefixes, so that each follower is a pass of its own.
std::string prefixedSignatures(int from, int to) {
    std::string text;
    for (int i = from; i < to; ++i) {
        const std::string prefix = "q" + std::to_string(i);
        text += "<" + prefix + ":Signature xmlns:" + prefix + "=\"urn:q\">f</" + prefix + ":Signature>";
    }
    return text;
}

// The enveloped-signature transform cuts the signature and at most 100
// signatures written directly behind it: whitespace or another element ends
// the run, and an unprefixed follower reaches the last end tag of its name.
// A canonicalization after it cuts the same.
TEST(FollowingSignatureRemoval, AdjacentSignaturesGoWithTheFirst) {
    const std::string root = "<r xmlns:p=\"urn:p\">";
    const std::pair<std::string, std::string> cases[] = {
        {"<p:Signature>b</p:Signature>", ""},
        {"\n<p:Signature>b</p:Signature>", "\n<p:Signature>b</p:Signature>"},
        {"<p:Object/>", "<p:Object></p:Object>"},
        {"<p:Signed>z</p:Signed>", "<p:Signed>z</p:Signed>"},
        {"<Signature>b</Signature><keep/><Signature>c</Signature>", ""},
        {prefixedSignatures(0, 101), prefixedSignatures(100, 101)},
    };
    for (const std::vector<std::string>& transforms :
         {std::vector<std::string>{std::string(kEnveloped)}, {std::string(kEnveloped), std::string(kC14n)}}) {
        for (const auto& [following, kept] : cases) {
            SCOPED_TRACE(following.substr(0, 40) + " transforms " + std::to_string(transforms.size()));
            const std::string ref = referenceXml("", sha256Of(root + kept + "</r>"), transforms);
            std::string doc = replaced(documentWithReferences("", ref), "<doc>", root);
            doc = replaced(doc, "</Signature></doc>", "</Signature>" + following + "</r>");
            ClsXmlDSig dsig;
            ASSERT_TRUE(loadXml(dsig, doc));
            EXPECT_FALSE(dsig.VerifySignature(true));
            ASSERT_EQ(dsig.report().references.size(), 1u);
            EXPECT_TRUE(dsig.report().references[0].matched);
        }
    }
}

} // namespace
