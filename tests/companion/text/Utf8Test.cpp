#include "companion/text/Utf8.h"
#include "companion/text/Windows1252.h"

#include <gtest/gtest.h>

TEST(Utf8Validation, AcceptsWellFormedText) {
    EXPECT_TRUE(isValidUtf8(""));
    EXPECT_TRUE(isValidUtf8("plain ASCII long enough to take the eight-byte path"));
    EXPECT_TRUE(isValidUtf8("caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80"));
    EXPECT_TRUE(isValidUtf8("\xF4\x8F\xBF\xBF")); // U+10FFFF
    EXPECT_TRUE(isValidUtf8("\xED\x9F\xBF"));     // U+D7FF, just below the surrogates
}

TEST(Utf8Validation, RejectsMalformedSequences) {
    const char* bad[] = {
        "\xC0\xAF",           // overlong '/'
        "\xE0\x80\xAF",       // overlong
        "\xF0\x8F\xBF\xBF",   // overlong
        "\xED\xA0\x80",       // surrogate
        "\xF4\x90\x80\x80",   // above U+10FFFF
        "\xF5\x80\x80\x80",   // invalid lead byte
        "\x80",               // lone continuation
        "caf\xE9",            // Latin-1 byte at the end
        "\xE2\x82",           // truncated
        "abcdefgh\xE9ijklmno" // inside the eight-byte path
    };
    for (const char* text : bad)
        EXPECT_FALSE(isValidUtf8(text)) << text;
}

TEST(Utf8Validation, CountsEveryLeadingBom) {
    EXPECT_EQ(leadingUtf8BomLength("\xEF\xBB\xBF\xEF\xBB\xBF<a/>"), 6u);
    EXPECT_EQ(leadingUtf8BomLength("<a/>\xEF\xBB\xBF"), 0u);
    EXPECT_EQ(leadingUtf8BomLength("\xEF\xBB"), 0u);
}

TEST(Windows1252, DecodesTheHighControlsRangeAndLatin1) {
    std::string out;
    appendWindows1252AsUtf8("\x80\x8A\x9F\xA0\xE9\xFF", out);
    EXPECT_EQ(out, "\xE2\x82\xAC\xC5\xA0\xC5\xB8\xC2\xA0\xC3\xA9\xC3\xBF"); // € Š Ÿ nbsp é ÿ
}

TEST(Windows1252, UndefinedBytesBecomeC1ControlsInsteadOfFailing) {
    std::string out;
    appendWindows1252AsUtf8("\x81\x8D\x8F\x90\x9D", out);
    EXPECT_EQ(out, "\xC2\x81\xC2\x8D\xC2\x8F\xC2\x90\xC2\x9D");
    EXPECT_TRUE(isValidUtf8(out));
}
