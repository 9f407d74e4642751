#include "companion/log/LogBase.h"
#include "companion/text/Charset.h"
#include "companion/text/DataBuffer.h"
#include "companion/text/Utf8.h"
#include "companion/xml/XmlError.h"

#include <algorithm>
#include <array>
#include <functional>
#include <optional>
#include <string>

namespace {

// How much of a text is checked between two reports of progress.
constexpr size_t kCheckedStep = 8u << 20;
// The longest part of a UTF-8 sequence a cut can leave at a piece's end.
constexpr size_t kLongestCut = 3;

// The valid UTF-8 prefix's length, found in pieces; `passed` is told how far
// the check has got after each. A character cut at a piece's end is checked
// whole with the next piece.
size_t validUtf8Length(std::string_view text, const std::function<void(size_t)>& passed) {
    size_t at = 0;
    while (at < text.size()) {
        const std::string_view piece = text.substr(at, kCheckedStep);
        const size_t valid = validUtf8Prefix(piece);
        const bool last = at + piece.size() == text.size();
        if (valid < piece.size() && (last || piece.size() - valid > kLongestCut))
            return at + valid;
        at += valid;
        passed(at);
    }
    return text.size();
}

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
constexpr std::string_view kUtf8 = "UTF-8";
constexpr size_t kWideFamilyLength = 6; // "UTF-16", "UTF-32"

// Declared names under which the bytes are read as UTF-8. A UTF-16 or
// UTF-32 declaration on text with neither a mark nor the wide byte pattern
// is a mislabelled 8-bit file.
constexpr std::array<std::string_view, 5> kUtf8Compatible = {kUtf8, "UTF8", "UTF-16", "UTF-32", ""};
// What a UTF-8 byte-order mark agrees with.
constexpr std::array<std::string_view, 3> kUtf8Names = {kUtf8, "UTF8", ""};

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

// The value of encoding="..." in the XML declaration at the start of the
// text, upper-cased, and where it stands; an empty name when there is none.
struct Declared {
    std::string name;
    size_t offset = 0;
};

Declared declaredEncoding(std::string_view text) {
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
    return {std::move(name), pos + 1};
}

template <size_t N> bool isOneOf(std::string_view name, const std::array<std::string_view, N>& names) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

// One error line that says where in the text, as a reader counts lines and
// columns, the document stops being what it claims: `before` is the text up
// to that point, already in UTF-8.
bool failAt(std::string_view before, std::string reason, LogBase& log) {
    const XmlError error{static_cast<uint32_t>(before.size()), std::move(reason)};
    log.LogError(error.describe(before));
    return false;
}

bool convertCharset(const std::string& charset, std::string_view bytes, std::string& out, LogBase& log) {
    log.LogDataStr("charset", charset);
    Charset cs;
    if (!cs.setByName(charset)) {
        log.LogError("Unsupported XML encoding.");
        return false;
    }
    size_t rejectedAt = 0;
    if (cs.toUtf8(bytes, out, &rejectedAt))
        return true;
    std::string before;
    cs.toUtf8(bytes.substr(0, rejectedAt), before);
    return failAt(before, "invalid " + cs.getName() + " byte sequence", log);
}

// The encoding the first bytes show (a byte-order mark, or the byte pattern
// of "<?") and the declared one must be the same: read either way, the same
// bytes would be other characters.
bool agreesWithStart(std::string_view text, std::string_view shown, bool marked, LogBase& log) {
    const Declared declared = declaredEncoding(text);
    const bool agrees = shown == kUtf8 ? isOneOf(declared.name, kUtf8Names)
                                       : declared.name.empty() || declared.name == shown ||
                                             declared.name == shown.substr(0, kWideFamilyLength);
    if (agrees)
        return true;
    return failAt(text.substr(0, declared.offset),
                  "the declared encoding " + declared.name + " contradicts the " + std::string(shown) +
                      (marked ? " byte-order mark" : " byte pattern of the document's start"),
                  log);
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
        if (!agreesWithStart(utf8, wide->charset, wide->bomLength > 0, log))
            return false;
        takeString(std::move(utf8));
        return true;
    }

    const size_t bomLength = leadingUtf8BomLength(view());
    const std::string_view text = view().substr(bomLength);
    if (bomLength > 0 && !agreesWithStart(text, kUtf8, true, log))
        return false;
    const std::string declared = declaredEncoding(text).name;

    if (isOneOf(declared, kUtf8Compatible)) {
        // A mapped document's pages are given back behind the check.
        const size_t valid =
            validUtf8Length(text, [this, bomLength](size_t checked) { m_shared.releasePages(0, bomLength + checked); });
        if (valid < text.size())
            return failAt(text.substr(0, valid), "invalid UTF-8 byte sequence", log);
        dropFront(bomLength);
        return true;
    }

    std::string utf8;
    if (!convertCharset(declared, text, utf8, log))
        return false;
    dropLeadingBoms(utf8);
    takeString(std::move(utf8));
    return true;
}
