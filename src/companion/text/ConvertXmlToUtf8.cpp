#include "companion/log/LogBase.h"
#include "companion/text/Charset.h"
#include "companion/text/DataBuffer.h"
#include "companion/text/Utf8.h"
#include "companion/text/Windows1252.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>

namespace {

// A multi-byte encoding recognised from the first bytes of the document.
struct WideEncoding {
    const char* charset;
    size_t bomLength;
};

struct Bom {
    std::string_view bytes;
    const char* charset;
};

// UTF-32LE's mark begins with UTF-16LE's, so it is tested first.
constexpr std::array<Bom, 4> kWideBoms = {{
    {std::string_view("\xFF\xFE\0\0", 4), "UTF-32LE"},
    {std::string_view("\0\0\xFE\xFF", 4), "UTF-32BE"},
    {std::string_view("\xFF\xFE", 2), "UTF-16LE"},
    {std::string_view("\xFE\xFF", 2), "UTF-16BE"},
}};

constexpr std::string_view kDeclStart = "<?xml";
constexpr std::string_view kDeclEnd = "?>";
constexpr std::string_view kEncodingAttr = "encoding";
constexpr std::string_view kSpaces = " \t\r\n";
constexpr std::string_view kWindows1252 = "WINDOWS-1252";

// Declared names under which the bytes are read as UTF-8. A UTF-16 or
// UTF-32 declaration on text with neither a mark nor the wide byte pattern
// is a mislabelled 8-bit file.
constexpr std::array<std::string_view, 7> kUtf8Compatible = {"UTF-8",  "UTF8",   "US-ASCII", "ASCII",
                                                             "UTF-16", "UTF-32", ""};
constexpr std::array<std::string_view, 2> kWindows1252Names = {kWindows1252, "CP1252"};

std::optional<WideEncoding> detectWide(std::string_view b) {
    for (const Bom& bom : kWideBoms)
        if (b.starts_with(bom.bytes))
            return WideEncoding{bom.charset, bom.bytes.size()};
    // No mark: the document starts with '<' followed by an ASCII character.
    if (b.size() < 4)
        return std::nullopt;
    const bool zero[4] = {b[0] == 0, b[1] == 0, b[2] == 0, b[3] == 0};
    if (b[0] == '<' && zero[1] && zero[2] && zero[3])
        return WideEncoding{"UTF-32LE", 0};
    if (zero[0] && zero[1] && zero[2] && b[3] == '<')
        return WideEncoding{"UTF-32BE", 0};
    if (b[0] == '<' && zero[1] && !zero[2] && zero[3])
        return WideEncoding{"UTF-16LE", 0};
    if (zero[0] && b[1] == '<' && zero[2] && !zero[3])
        return WideEncoding{"UTF-16BE", 0};
    return std::nullopt;
}

// The upper-cased value of encoding="..." in the XML declaration at the
// start of the text, or empty.
std::string declaredEncoding(std::string_view text) {
    if (!text.starts_with(kDeclStart) || text.size() == kDeclStart.size() ||
        kSpaces.find(text[kDeclStart.size()]) == std::string_view::npos)
        return {};
    const std::string_view decl = text.substr(0, text.find(kDeclEnd));
    size_t pos = decl.find(kEncodingAttr);
    if (pos == std::string_view::npos)
        return {};
    pos = decl.find_first_not_of(kSpaces, pos + kEncodingAttr.size());
    if (pos == std::string_view::npos || decl[pos] != '=')
        return {};
    pos = decl.find_first_not_of(kSpaces, pos + 1);
    if (pos == std::string_view::npos || (decl[pos] != '"' && decl[pos] != '\''))
        return {};
    const size_t end = decl.find(decl[pos], pos + 1);
    if (end == std::string_view::npos)
        return {};
    std::string name(decl.substr(pos + 1, end - pos - 1));
    std::transform(name.begin(), name.end(), name.begin(),
                   [](char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 32) : c; });
    return name;
}

template <size_t N> bool isOneOf(std::string_view name, const std::array<std::string_view, N>& names) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

bool convertCharset(const std::string& charset, std::string_view bytes, std::string& out, LogBase& log) {
    log.LogDataStr("charset", charset);
    Charset cs;
    if (!cs.setByName(charset)) {
        log.LogError("Unsupported XML encoding.");
        return false;
    }
    if (!cs.toUtf8(bytes, out)) {
        log.LogError("The XML bytes are not valid in their encoding.");
        return false;
    }
    return true;
}

void dropLeadingBoms(std::string& text) {
    text.erase(0, leadingUtf8BomLength(text));
}

} // namespace

bool DataBuffer::convertXmlToUtf8(LogBase& log) {
    if (const std::optional<WideEncoding> wide = detectWide(view())) {
        std::string utf8;
        if (!convertCharset(wide->charset, view().substr(wide->bomLength), utf8, log))
            return false;
        dropLeadingBoms(utf8);
        m_bytes = std::move(utf8);
        return true;
    }

    const size_t bomLength = leadingUtf8BomLength(view());
    const std::string_view text = view().substr(bomLength);
    // A byte-order mark outranks the declaration.
    const std::string declared = bomLength > 0 ? std::string() : declaredEncoding(text);

    if (isOneOf(declared, kUtf8Compatible) && isValidUtf8(text)) {
        m_bytes.erase(0, bomLength);
        return true;
    }

    std::string utf8;
    if (isOneOf(declared, kUtf8Compatible)) {
        // Common field defect: 8-bit Windows text saved without a declaration.
        log.LogInfo("The XML is not valid UTF-8; reading it as windows-1252.");
        appendWindows1252AsUtf8(text, utf8);
    } else if (isOneOf(declared, kWindows1252Names)) {
        // Our own table: iconv rejects the five undefined bytes of this code page.
        log.LogDataStr("charset", kWindows1252);
        appendWindows1252AsUtf8(text, utf8);
    } else if (!convertCharset(declared, text, utf8, log)) {
        return false;
    }
    dropLeadingBoms(utf8);
    m_bytes = std::move(utf8);
    return true;
}
