#include "companion/log/LogBase.h"
#include "companion/text/DataBuffer.h"
#include "companion/text/StringBuffer.h"
#include "companion/text/TextCodec.h"
#include "companion/text/XString.h"

#include <gtest/gtest.h>

namespace {

const std::string kBinary("\x00\x01\x7F\x80\xAB\xFF", 6);

std::string encodedAs(std::string_view encoding, std::string_view bytes = kBinary) {
    DataBuffer db;
    db.append(bytes);
    StringBuffer sb;
    EXPECT_TRUE(db.encodeDB(encoding, sb)) << encoding;
    return std::string(sb.view());
}

} // namespace

TEST(NamedEncoding, MalformedHexFailsWithoutAppending) {
    for (const char* text : {"ABC", "0G", "0x12", "A B C"}) {
        DataBuffer db;
        db.append("x");
        EXPECT_FALSE(db.appendEncoded(text, "hex")) << text;
        EXPECT_EQ(db.view(), "x") << text;
    }
}

TEST(NamedEncoding, NamesAreCaseInsensitiveAndUnknownNamesFail) {
    DataBuffer db;
    EXPECT_TRUE(db.appendEncoded("Zm9v", "BASE64"));
    EXPECT_TRUE(db.appendEncoded("-\xC3\xA9", "UTF-8"));
    EXPECT_TRUE(db.appendEncoded("!", "ascii"));
    EXPECT_TRUE(db.appendEncoded("?", "utf8"));
    EXPECT_EQ(db.view(), "foo-\xC3\xA9!?");

    StringBuffer sb;
    EXPECT_FALSE(db.appendEncoded("Zm9v", "base-64"));
    EXPECT_FALSE(db.encodeDB("quoted-printable", sb));
    EXPECT_TRUE(sb.isEmpty());
    EXPECT_EQ(encodedAs("base64", "foobar"), "Zm9vYmFy");
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
