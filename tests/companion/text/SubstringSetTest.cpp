#include "companion/text/SubstringSet.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

uint64_t plainSearch(const std::vector<std::string_view>& needles, std::string_view text) {
    uint64_t found = 0;
    for (size_t i = 0; i < needles.size(); ++i)
        if (text.find(needles[i]) != std::string_view::npos)
            found |= uint64_t{1} << i;
    return found;
}

// Needles that share leading bytes, one inside another, one of a single byte,
// and more distinct leading bytes than there are buckets, planted at every
// offset of texts of every length over a few blocks, in a text drawn from
// their own letters so that near misses abound.
TEST(SubstringSet, FindsWhatAPlainSearchFinds) {
    const std::vector<std::string_view> needles = {"urn:a", "urn:bc", "e-mf.gov", "mf.gov", "<x>", "q",  "gg",
                                                   "<y",    "ba",     "co",       "n:",     "v.",  "x>g"};
    const SubstringSet set(needles);
    std::mt19937 random(7);
    const std::string alphabet = "urn:abce-mfgov.<x>gy";
    for (size_t length = 0; length < 160; ++length) {
        for (int round = 0; round < 20; ++round) {
            std::string text;
            for (size_t i = 0; i < length; ++i)
                text += alphabet[random() % alphabet.size()];
            const std::string_view planted = needles[random() % needles.size()];
            if (planted.size() <= length)
                text.replace(random() % (length - planted.size() + 1), planted.size(), planted);
            ASSERT_EQ(set.findIn(text), plainSearch(needles, text)) << text;
        }
    }
}

} // namespace
