#include "companion/xml/XmlChars.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

// The text check takes printable ASCII in blocks: a fault or a '<' must be
// seen at every offset within and across blocks, not only in short texts.
TEST(XmlChars, TextCheckFindsFaultsAndCountsTagsAtEveryOffset) {
    const std::string ascii = "<a x=\"1\">text and more text</a><b/>plain ascii tail";
    for (size_t at = 0; at < ascii.size(); ++at) {
        SCOPED_TRACE(at);
        std::string control = ascii;
        control[at] = '\x01';
        const xml_chars::TextCheck c = xml_chars::checkText(control);
        EXPECT_EQ(c.badOffset, at);
        EXPECT_EQ(c.badCodePoint, 1u);

        std::string broken = ascii;
        broken[at] = '\xFF';
        EXPECT_EQ(xml_chars::checkText(broken).badOffset, at);
        EXPECT_TRUE(xml_chars::checkText(broken).badEncoding);

        std::string accented = ascii;
        accented.replace(at, 1, "\xC3\xA9\n");
        const xml_chars::TextCheck ok = xml_chars::checkText(accented);
        EXPECT_EQ(ok.badOffset, std::string::npos);
        EXPECT_EQ(ok.lessThanCount, static_cast<size_t>(std::count(accented.begin(), accented.end(), '<')));
    }
}

} // namespace
