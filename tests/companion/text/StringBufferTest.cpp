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

TEST(StringBufferSplit, EmptyPartsAtTheEdgesFollowKeepEmpty) {
    EXPECT_EQ(split(",a,,b,", ',', false, true), (Parts{"", "a", "", "b", ""}));
    EXPECT_EQ(split(",a,,b,", ',', false, false), (Parts{"a", "b"}));
    EXPECT_EQ(split("", ',', false, false), Parts{});
    EXPECT_EQ(split("  ds  xs ", ' ', true, false), (Parts{"ds", "xs"}));
}

TEST(StringBufferGetDelimited, InclusiveAndExclusive) {
    const StringBuffer sb("x<a>1</a><a>2</a>");
    StringBuffer out;
    ASSERT_TRUE(sb.getDelimited("<a>", "</a>", true, out));
    EXPECT_EQ(out.view(), "<a>1</a>");
    ASSERT_TRUE(sb.getDelimited("<a>", "</a>", false, out));
    EXPECT_EQ(out.view(), "1");
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

TEST(StringBufferMatches, CaseSensitivity) {
    EXPECT_FALSE(StringBuffer("Doc.XML").matches("*.xml"));
    EXPECT_TRUE(StringBuffer("Doc.XML").matches("*.xml", false));
}

TEST(StringBufferReplace, AllOccurrencesLeftToRightWithoutRescanning) {
    StringBuffer overlapping("aaa");
    EXPECT_EQ(overlapping.replaceAllOccurances("aa", "X"), 1u);
    EXPECT_EQ(overlapping.view(), "Xa");

    StringBuffer growing("aba");
    EXPECT_EQ(growing.replaceAllOccurances("a", "aa"), 2u);
    EXPECT_EQ(growing.view(), "aabaa");

    StringBuffer cr("1&#13;\n2&#13;");
    EXPECT_EQ(cr.replaceAllOccurances("&#13;", ""), 2u);
    EXPECT_EQ(cr.view(), "1\n2");

    EXPECT_EQ(growing.replaceAllOccurances("", "z"), 0u);
    EXPECT_EQ(growing.replaceAllOccurances("q", "z"), 0u);
    EXPECT_EQ(growing.view(), "aabaa");
}

TEST(StringBufferToLF, EveryLineEndFormBecomesOneLF) {
    StringBuffer sb("a\r\nb\rc\n\r\n\r\r\n");
    sb.toLF();
    EXPECT_EQ(sb.view(), "a\nb\nc\n\n\n\n");
}

TEST(StringBufferShare, WritesAfterShareLeaveTheSharedCopyIntact) {
    StringBuffer sb("Hello");
    const auto shared = sb.share();
    EXPECT_EQ(sb.share(), shared); // no write in between: the same bytes
    EXPECT_EQ(sb.getString(), shared->c_str());

    sb.append(" world");
    EXPECT_EQ(*shared, "Hello");
    EXPECT_EQ(sb.view(), "Hello world");
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
