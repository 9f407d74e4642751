#include "companion/text/Utf8.h"

#include <gtest/gtest.h>

TEST(Utf8Validation, RejectsMalformedSequences) {
    // U+10FFFF and U+D7FF border the rejected ranges.
    EXPECT_TRUE(isValidUtf8("plain ASCII for the eight-byte path caf\xC3\xA9 \xF4\x8F\xBF\xBF \xED\x9F\xBF"));
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
