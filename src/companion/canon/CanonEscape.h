#pragma once

#include "companion/xml/XmlToken.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

class XmlDtd;

// Writes the character content of canonical XML: raw text from the scanner
// is decoded (references, line ends) and escaped in one go.
namespace canon_escape {

// A run of text this long or longer is searched sixteen bytes at a time.
constexpr size_t kLongText = 16;
size_t plainLengthOfLongText(std::string_view raw);

// A set of bytes, named once for both the table that short runs are tested
// with and the block search of long ones.
template <char... Bytes> struct ByteSet {
    static constexpr std::array<bool, 256> kTable = [] {
        std::array<bool, 256> table{};
        ((table[static_cast<unsigned char>(Bytes)] = true), ...);
        return table;
    }();
    static constexpr bool contains(char c) { return kTable[static_cast<unsigned char>(c)]; }
};
// What canonical text escapes, plus '&' and CR, which raw text decodes first.
using RawTextSpecial = ByteSet<'&', '<', '>', '\r'>;
// What a canonical attribute value escapes.
using AttributeSpecial = ByteSet<'&', '<', '"', '\t', '\n', '\r'>;

// How many bytes at the start of raw character data are their own canonical
// form: those before the first reference, line end or byte to escape.
// Inline for the short runs between tags, most of the text of a document.
inline size_t plainTextLength(std::string_view raw) {
    if (raw.size() >= kLongText)
        return plainLengthOfLongText(raw);
    size_t i = 0;
    while (i < raw.size() && !RawTextSpecial::contains(raw[i]))
        ++i;
    return i;
}
// Character data: & < > and CR escaped. `crIsCharacter` is set inside an
// entity's replacement text, where a CR can only come from a character
// reference in the entity value and so is not a line end.
void appendText(std::string& out, std::string_view raw, uint8_t textFlags, bool crIsCharacter, const XmlDtd& dtd);
// A CDATA section's text, written as escaped character data.
void appendCData(std::string& out, std::string_view raw, bool crIsCharacter);
// A normalized attribute value: & < " TAB LF CR escaped. `scratch` holds the
// decoded value when the raw one needs decoding.
void appendAttributeValue(std::string& out, std::string_view raw, uint8_t attributeFlags, const XmlDtd& dtd,
                          std::string& scratch);
bool isPlainLongAttributeValue(std::string_view raw);
// True when a raw attribute value is its own canonical form. Inline for
// short values, as most are.
inline bool isPlainAttributeValue(std::string_view raw, uint8_t attributeFlags) {
    if (attributeFlags & kAttrNeedsDecoding)
        return false;
    if (raw.size() >= kLongText)
        return isPlainLongAttributeValue(raw);
    return std::none_of(raw.begin(), raw.end(), AttributeSpecial::contains);
}
// Comment and processing-instruction text: only line ends change.
void appendMarkupText(std::string& out, std::string_view raw);

} // namespace canon_escape
