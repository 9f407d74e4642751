#include "companion/log/LogBase.h"
#include "companion/text/Charset.h"
#include "companion/text/DataBuffer.h"
#include "companion/text/XString.h"

#include <gtest/gtest.h>

TEST(GetConverted, EncodesUtf8TextInTheNamedCharset) {
    const XString text("\xC3\xA9\xE2\x82\xAC"); // é€
    DataBuffer latin9, cp1252, utf16;
    ASSERT_TRUE(text.getConverted("ISO-8859-15", latin9));
    EXPECT_EQ(latin9.view(), "\xE9\xA4");
    ASSERT_TRUE(text.getConverted("windows-1252", cp1252));
    EXPECT_EQ(cp1252.view(), "\xE9\x80");
    // "utf-16" means little-endian without a mark, as Windows callers expect.
    ASSERT_TRUE(text.getConverted("utf-16", utf16));
    EXPECT_EQ(utf16.view(), std::string_view("\xE9\x00\xAC\x20", 4));
}

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

TEST(CheckFixUtf8Windows1252, InvalidTextIsRepairedAndLogged) {
    LogBase log;
    XString s("<a>na\xEFve \x80 \x93q\x94</a>");
    EXPECT_TRUE(s.checkFixUtf8Windows1252(log));
    EXPECT_EQ(s.view(), "<a>na\xC3\xAFve \xE2\x82\xAC \xE2\x80\x9Cq\xE2\x80\x9D</a>");
    ASSERT_EQ(log.entries().size(), 1u);
    EXPECT_EQ(log.entries()[0].kind, LogBase::Kind::Info);
    // Repaired text is valid, so a second pass changes nothing.
    EXPECT_FALSE(s.checkFixUtf8Windows1252(log));
}
