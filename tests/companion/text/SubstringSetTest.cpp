#include "companion/text/SubstringSet.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

uint64_t plainSearch(std::string_view text, const std::vector<std::string_view>& needles) {
    uint64_t found = 0;
    for (size_t i = 0; i < needles.size(); ++i)
        if (text.find(needles[i]) != std::string_view::npos)
            found |= uint64_t{1} << i;
    return found;
}

// Needles planted at every offset around block boundaries and the text's
// end, in texts made of the needles' own letters (so partial matches abound),
// must be found exactly where a plain search finds them.
TEST(SubstringSet, FindsWhatAPlainSearchFinds) {
    const std::vector<std::string_view> needles = {"www.sii.cl", "urn:sunat:names:specification:ubl:peru",
                                                   "<doda>",     "SK-XML",
                                                   "mf.gov.pl",  "e-deklaracje.mf.gov.pl",
                                                   "x"};
    const SubstringSet set(needles);
    std::mt19937 random(7);
    const std::string alphabet = "<>wsi.clmfgovpuSKXMLde-:";
    for (size_t length : {0u, 5u, 15u, 16u, 17u, 40u, 47u, 48u, 49u, 200u}) {
        for (int round = 0; round < 60; ++round) {
            std::string text(length, ' ');
            for (char& c : text)
                c = alphabet[random() % alphabet.size()];
            const std::string_view needle = needles[random() % (needles.size() - 1)];
            if (length >= needle.size()) {
                const size_t at = random() % (length - needle.size() + 1);
                text.replace(at, needle.size(), needle);
            }
            SCOPED_TRACE(text);
            EXPECT_EQ(set.findIn(text), plainSearch(text, needles));
        }
    }
}

} // namespace
