#include "companion/xml/XmlDocument.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

std::shared_ptr<XmlDocument> parse(const std::string& text) {
    std::string error;
    auto doc = XmlDocument::parse(SharedText::ofString(std::string(text)), false, error);
    EXPECT_TRUE(doc) << error;
    return doc;
}

std::vector<std::string> candidateNames(const XmlDocument& doc) {
    std::vector<std::string> names;
    for (uint32_t n : doc.signatureCandidates())
        names.emplace_back(doc.name(n));
    return names;
}

// Large enough for the node array to be faulted in on a second thread while
// the tree is built: the tree must come out whole all the same.
TEST(XmlDocument, LargeTreeBuiltAlongsideItsPagePopulation) {
    constexpr int kElements = 1'500'000;
    std::string text = "<r>";
    text.reserve(static_cast<size_t>(kElements) * 12 + 64);
    for (int i = 0; i < kElements; ++i)
        text += "<e a=\"1\">t</e>";
    text += "<Signature/></r>";
    const auto doc = parse(text);
    ASSERT_EQ(doc->nodeCount(), kElements + 2u);
    EXPECT_EQ(doc->name(kElements), "e");
    EXPECT_EQ(doc->attributes(kElements).size(), 1u);
    EXPECT_EQ(doc->parent(kElements + 1), doc->root());
    EXPECT_EQ(candidateNames(*doc), std::vector<std::string>{"Signature"});
}

} // namespace
