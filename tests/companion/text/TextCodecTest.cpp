#include "companion/text/TextCodec.h"
#include "companion/log/LogBase.h"
#include "companion/text/DataBuffer.h"
#include "companion/text/XString.h"

#include <gtest/gtest.h>

TEST(NamedEncoding, MalformedHexFailsWithoutAppending) {
    for (const char* text : {"ABC", "0G", "0x12", "A B C"}) {
        DataBuffer db;
        db.append("x");
        EXPECT_FALSE(db.appendEncoded(text, "hex")) << text;
        EXPECT_EQ(db.view(), "x") << text;
    }
}

TEST(NamedEncoding, DecimalSerialBecomesCertificateStyleHex) {
    struct Case {
        const char* decimal;
        const char* hex;
    };
    for (const Case& c : {Case{"0", "00"}, Case{"255", "FF"}, Case{"256", "0100"},
                          Case{" 1234567890123456789012345678901234567890\n", "03A0C92075C0DBF3B8ACBC5F96CE3F0AD2"}}) {
        XString serial(c.decimal);
        ASSERT_TRUE(serial.reencode("decimal", "hex")) << c.decimal;
        EXPECT_EQ(serial.view(), c.hex);
    }
    XString back("03A0C92075C0DBF3B8ACBC5F96CE3F0AD2");
    ASSERT_TRUE(back.reencode("hex", "decimal"));
    EXPECT_EQ(back.view(), "1234567890123456789012345678901234567890");
}

TEST(TextCodec, DecodeBinaryReplacesOrAppendsAndReportsBadInput) {
    TextCodec enc;
    enc.put_EncodingMode(XString("hex"));
    LogBase log;
    DataBuffer db;
    db.append("old");
    ASSERT_TRUE(enc.decodeBinary(XString("4142"), db, false, log));
    EXPECT_EQ(db.view(), "AB");
    ASSERT_TRUE(enc.decodeBinary(XString("43"), db, true, log));
    EXPECT_EQ(db.view(), "ABC");

    EXPECT_FALSE(enc.decodeBinary(XString("4Z"), db, false, log));
    EXPECT_EQ(db.view(), "ABC");
    EXPECT_TRUE(log.hasErrors());

    LogBase log2;
    enc.put_EncodingMode(XString("rot13"));
    EXPECT_FALSE(enc.decodeBinary(XString("4142"), db, false, log2));
    EXPECT_EQ(log2.firstError(), "Unsupported encoding.");
}
