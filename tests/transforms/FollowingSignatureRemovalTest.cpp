#include "companion/log/LogBase.h"
#include "verifier/ClsXmlDSig.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// Removes the signature that starts at the first "<ds:Signature" (or
// "<Signature") of the text, with what follows it.
std::string removeFirst(const std::string& xml, const std::string& firstSig) {
    ClsXmlDSig dsig;
    LogNull log;
    StringBuffer text(xml);
    const size_t start = xml.find(firstSig);
    dsig.removeSignatureAndFollowingSigs(text, static_cast<unsigned>(start), static_cast<unsigned>(firstSig.size()),
                                         log);
    return std::string(text.view());
}

constexpr const char* kSig = "<ds:Signature>a</ds:Signature>";

TEST(FollowingSignatureRemoval, SignatureAtTheEndGoesAlone) {
    EXPECT_EQ(removeFirst(std::string("<r/>") + kSig, kSig), "<r/>");
}

TEST(FollowingSignatureRemoval, AdjacentPrefixedSignaturesGoTogether) {
    EXPECT_EQ(removeFirst(std::string("<r>") + kSig + "<ds:Signature>b</ds:Signature></r>", kSig), "<r></r>");
    // Whitespace between them ends the run.
    EXPECT_EQ(removeFirst(std::string("<r>") + kSig + "\n<ds:Signature>b</ds:Signature></r>", kSig),
              "<r>\n<ds:Signature>b</ds:Signature></r>");
}

TEST(FollowingSignatureRemoval, UnprefixedFollowerReachesTheLastEndTag) {
    const std::string xml = std::string("<r>") + kSig + "<Signature>b</Signature><keep/><Signature>c</Signature></r>";
    EXPECT_EQ(removeFirst(xml, kSig), "<r></r>");
}

TEST(FollowingSignatureRemoval, OtherElementsEndTheRun) {
    EXPECT_EQ(removeFirst(std::string("<r>") + kSig + "<ds:Object/></r>", kSig), "<r><ds:Object/></r>");
    EXPECT_EQ(removeFirst(std::string("<r>") + kSig + "<x:Signed>z</x:Signed></r>", kSig),
              "<r><x:Signed>z</x:Signed></r>");
    // A follower without its end tag stops the run; what was gathered goes.
    EXPECT_EQ(removeFirst(std::string("<r>") + kSig + "<ds:Signature>b</r>", kSig), "<r><ds:Signature>b</r>");
}

TEST(FollowingSignatureRemoval, AtMostOneHundredFollowersAreTaken) {
    // Each follower's end tag is unique to it, so each pass takes one.
    std::string xml = std::string("<r>") + kSig;
    for (int i = 0; i < 102; ++i)
        xml += "<p" + std::to_string(i) + ":Signature/></p" + std::to_string(i) + ":Signature>";
    xml += "</r>";
    const std::string out = removeFirst(xml, kSig);
    EXPECT_EQ(out, "<r><p100:Signature/></p100:Signature><p101:Signature/></p101:Signature></r>");
}

} // namespace
