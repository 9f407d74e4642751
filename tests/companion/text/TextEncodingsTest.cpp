// Text in and out of its encodings: named encodings, base64, UTF-8, charsets.
#include "companion/log/LogBase.h"
#include "companion/text/Charset.h"
#include "companion/text/ContentCoding.h"
#include "companion/text/DataBuffer.h"
#include "companion/text/StringBuffer.h"
#include "companion/text/TextCodec.h"
#include "companion/text/Utf8.h"
#include "companion/text/XString.h"

#include <gtest/gtest.h>

#include <string>

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

TEST(Base64, GarbageIsRejectedAndOutputLeftAlone) {
    const std::string bad[] = {
        "Zm9v!YmFy",                  // foreign character
        "Zm9v-_",                     // base64url alphabet
        "Zm9vY",                      // one symbol left over
        "Zg===",                      // too much padding
        "Zm8==",                      // padding does not fit the group
        "Zg==Zm8=",                   // data after padding
        "=",                          // padding alone
        std::string("Zm9v\0YmFy", 9), // an embedded NUL
    };
    for (const std::string& text : bad) {
        std::string out = "kept";
        EXPECT_FALSE(ContentCoding::decodeBase64(text, out)) << text;
        EXPECT_EQ(out, "kept") << text;
    }
}

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
