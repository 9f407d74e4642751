#include "companion/text/StringBuffer.h"
#include "companion/text/ExtPtrArray.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

std::vector<std::string> split(std::string_view text, char delim, bool exceptQuoted, bool keepEmpty) {
    ExtPtrArraySb parts;
    StringBuffer(text).split(parts, delim, exceptQuoted, keepEmpty);
    std::vector<std::string> out;
    for (int i = 0; i < parts.getSize(); ++i)
        out.emplace_back(parts.sbAt(i)->view());
    return out;
}

using Parts = std::vector<std::string>;

} // namespace

TEST(StringBufferSplit, QuotesProtectDelimitersOnlyWhenAsked) {
    EXPECT_EQ(split("a,\"b,c\",,d", ',', true, true), (Parts{"a", "\"b,c\"", "", "d"}));
    EXPECT_EQ(split("a,\"b,c\",,d", ',', false, true), (Parts{"a", "\"b", "c\"", "", "d"}));
    EXPECT_EQ(split("CN=\"Doe, John\",O=Acme", ',', true, false), (Parts{"CN=\"Doe, John\"", "O=Acme"}));
}

TEST(StringBufferGetDelimited, EndIsSearchedAfterStartAndMissesEmptyTheOutput) {
    const StringBuffer sb("</a>x<a>y");
    StringBuffer out("stale");
    EXPECT_FALSE(sb.getDelimited("<a>", "</a>", true, out));
    EXPECT_TRUE(out.isEmpty());
    out.setString("stale");
    EXPECT_FALSE(sb.getDelimited("<b>", "</a>", true, out));
    EXPECT_TRUE(out.isEmpty());
}

TEST(StringBufferMatches, GlobWithBacktracking) {
    EXPECT_TRUE(StringBuffer("axxbyyc").matches("a*b*c"));
    EXPECT_TRUE(StringBuffer("abcbc").matches("a*bc"));
    EXPECT_FALSE(StringBuffer("abcbd").matches("a*bc"));
    EXPECT_TRUE(StringBuffer("").matches("*"));
    EXPECT_TRUE(StringBuffer("").matches(""));
    EXPECT_FALSE(StringBuffer("a").matches(""));
    EXPECT_TRUE(StringBuffer("/ds:Signature").matches("*Signature"));
}

TEST(StringBufferShare, EveryKindOfWriteCopiesFirst) {
    using Write = void (*)(StringBuffer&);
    const Write writes[] = {
        [](StringBuffer& sb) { sb.replaceAllOccurances("l", "L"); },
        [](StringBuffer& sb) { sb.toUpperCase(); },
        [](StringBuffer& sb) { sb.removeChunk(0, 2); },
        [](StringBuffer& sb) { sb.raw().push_back('!'); },
        [](StringBuffer& sb) { sb.setString("other"); },
        [](StringBuffer& sb) { sb.secureClear(); },
    };
    for (Write write : writes) {
        StringBuffer sb("hello");
        const auto shared = sb.share();
        write(sb);
        EXPECT_EQ(*shared, "hello");
        EXPECT_NE(sb.view(), "hello");
    }
}
