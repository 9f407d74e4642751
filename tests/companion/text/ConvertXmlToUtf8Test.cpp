#include "companion/log/LogBase.h"
#include "companion/text/DataBuffer.h"

#include <gtest/gtest.h>

#include <string>

namespace {

const std::u16string kWideXml = u"<?xml version=\"1.0\" encoding=\"UTF-16\"?><a>\u00E9\u20AC</a>";
const std::string kWideXmlUtf8 = "<?xml version=\"1.0\" encoding=\"UTF-16\"?><a>\xC3\xA9\xE2\x82\xAC</a>";

std::string utf16(const std::u16string& text, bool bigEndian) {
    std::string out;
    for (char16_t unit : text) {
        const char hi = static_cast<char>(unit >> 8), lo = static_cast<char>(unit & 0xFF);
        out.push_back(bigEndian ? hi : lo);
        out.push_back(bigEndian ? lo : hi);
    }
    return out;
}

struct Converted {
    bool ok;
    std::string text;
};

Converted convert(const std::string& bytes, LogBase& log) {
    DataBuffer db;
    db.append(bytes);
    const bool ok = db.convertXmlToUtf8(log);
    return {ok, std::string(db.view())};
}

Converted convert(const std::string& bytes) {
    LogBase log;
    return convert(bytes, log);
}

} // namespace

TEST(ConvertXmlToUtf8, EncodingsByMarkDeclarationOrGuess) {
    const std::string le = utf16(kWideXml, false), be = utf16(kWideXml, true);
    std::string utf32("\xFF\xFE\0\0", 4);
    for (char c : std::string("<a/>")) {
        utf32.push_back(c);
        utf32.append(3, '\0');
    }
    const std::string body = "<?xml version=\"1.0\" encoding=\"UTF-8\"?><a>\xC3\xA9</a>";
    const std::string decl1 = "<?xml version='1.0' encoding='ISO-8859-1'?>";
    const std::string decl1252 = "<?xml version=\"1.0\" encoding=\"windows-1252\"?>";
    const std::string decl1250 = "<?xml version=\"1.0\"\n  encoding = \"Windows-1250\" ?>";
    const std::string mislabelled = "<?xml version=\"1.0\" encoding=\"UTF-16\"?><a>\xC3\xA9</a>";
    const struct {
        std::string bytes, text;
    } cases[] = {
        {"\xFF\xFE" + le, kWideXmlUtf8},
        {"\xFE\xFF" + be, kWideXmlUtf8},
        {le, kWideXmlUtf8},
        {be, kWideXmlUtf8},
        // UTF-16 without a declaration is recognised from the first element.
        {utf16(u"<r>\u00E9</r>", false), "<r>\xC3\xA9</r>"},
        {utf32, "<a/>"},
        // Repeated marks are all dropped; in UTF-16 the first picks the byte order.
        {"\xEF\xBB\xBF\xEF\xBB\xBF\xEF\xBB\xBF" + body, body},
        {"\xFF\xFE" + utf16(u"\uFEFF\uFEFF<a/>", false), "<a/>"},
        // 0x80 is a C1 control in ISO-8859-1 but the euro sign in windows-1252.
        {decl1 + "<a>\xE9\x80</a>", decl1 + "<a>\xC3\xA9\xC2\x80</a>"},
        {decl1252 + "<a>\xE9\x80</a>", decl1252 + "<a>\xC3\xA9\xE2\x82\xAC</a>"},
        {decl1250 + "<a>\x8A\xB9</a>", decl1250 + "<a>\xC5\xA0\xC4\x85</a>"}, // Š ą
        {mislabelled, mislabelled},
    };
    for (const auto& c : cases) {
        const Converted converted = convert(c.bytes);
        EXPECT_TRUE(converted.ok) << c.text;
        EXPECT_EQ(converted.text, c.text);
    }
}

TEST(ConvertXmlToUtf8, FailuresLeaveTheBytesAlone) {
    const std::string unknown = "<?xml version=\"1.0\" encoding=\"x-no-such-charset\"?><a/>";
    const std::string badShiftJis = "<?xml version=\"1.0\" encoding=\"Shift_JIS\"?><a>\x81</a>";
    const std::string oddUtf16("\xFF\xFE<\0a", 5); // a dangling half code unit
    for (const std::string& bytes : {unknown, badShiftJis, oddUtf16}) {
        LogBase log;
        const Converted c = convert(bytes, log);
        EXPECT_FALSE(c.ok);
        EXPECT_EQ(c.text, bytes);
        EXPECT_TRUE(log.hasErrors());
    }
}
