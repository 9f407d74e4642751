#include "companion/log/LogBase.h"
#include "verifier/ClsXmlDSig.h"

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr const char* kSig = "<ds:Signature>a</ds:Signature>";

// Removes the signature kSig inside <r>, with what follows it.
std::string removeFirst(const std::string& following) {
    const std::string xml = std::string("<r>") + kSig + following + "</r>";
    ClsXmlDSig dsig;
    LogNull log;
    StringBuffer text(xml);
    dsig.removeSignatureAndFollowingSigs(text, 3, static_cast<unsigned>(std::string(kSig).size()));
    return std::string(text.view());
}

TEST(FollowingSignatureRemoval, AdjacentSignaturesGoWithTheFirst) {
    const struct {
        std::string following, expected;
    } cases[] = {
        {"", "<r></r>"},
        {"<ds:Signature>b</ds:Signature>", "<r></r>"},
        // Whitespace, another element or a follower without its end tag ends the run.
        {"\n<ds:Signature>b</ds:Signature>", "<r>\n<ds:Signature>b</ds:Signature></r>"},
        {"<ds:Object/>", "<r><ds:Object/></r>"},
        {"<x:Signed>z</x:Signed>", "<r><x:Signed>z</x:Signed></r>"},
        {"<ds:Signature>b", "<r><ds:Signature>b</r>"},
        // An unprefixed follower reaches the last end tag.
        {"<Signature>b</Signature><keep/><Signature>c</Signature>", "<r></r>"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(removeFirst(c.following), c.expected) << c.following;

    // Each follower's end tag is unique to it, so each pass takes one; at
    // most a hundred are taken.
    std::string many;
    for (int i = 0; i < 102; ++i)
        many += "<p" + std::to_string(i) + ":Signature/></p" + std::to_string(i) + ":Signature>";
    EXPECT_EQ(removeFirst(many), "<r><p100:Signature/></p100:Signature><p101:Signature/></p101:Signature></r>");
}

} // namespace
