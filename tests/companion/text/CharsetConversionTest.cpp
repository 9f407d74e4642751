#include "companion/log/LogBase.h"
#include "companion/text/Charset.h"
#include "companion/text/DataBuffer.h"
#include "companion/text/XString.h"

#include <gtest/gtest.h>

TEST(GetConverted, UnrepresentableCharacterFailsWithoutOutput) {
    const XString text("price: \xE2\x82\xAC"); // no euro sign in ISO-8859-1
    DataBuffer out;
    EXPECT_FALSE(text.getConverted("ISO-8859-1", out));
    EXPECT_TRUE(out.isEmpty());
    EXPECT_FALSE(text.getConverted("no-such-charset", out));
}

TEST(Reencode, ReadsHeldBytesInTheCharset) {
    XString s("Gr\xFC\xDF"); // Latin-1 bytes
    ASSERT_TRUE(s.reencode("latin1"));
    EXPECT_EQ(s.view(), "Gr\xC3\xBC\xC3\x9F");

    XString bad("\x81\x20"); // not Shift_JIS
    EXPECT_FALSE(bad.reencode("Shift_JIS"));
    EXPECT_EQ(bad.view(), "\x81\x20");
}
