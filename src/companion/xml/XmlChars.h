#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

// Character classes of XML 1.0 (fifth edition) over UTF-8 text.
namespace xml_chars {

inline constexpr bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// A code point that may appear in a document (the Char production).
constexpr bool isXmlChar(uint32_t cp) {
    if (cp < 0x20)
        return cp == 0x9 || cp == 0xA || cp == 0xD;
    return cp <= 0xD7FF || (cp >= 0xE000 && cp <= 0xFFFD) || (cp >= 0x10000 && cp <= 0x10FFFF);
}

bool isNameStartCodePoint(uint32_t cp);
bool isNameCodePoint(uint32_t cp);

// The end of the Name that starts at p, or p itself when none does. The
// text must already be valid UTF-8.
const char* scanName(const char* p, const char* end);
// The same for an Nmtoken (name characters, any first one).
const char* scanNmtoken(const char* p, const char* end);

inline const char* skipSpace(const char* p, const char* end) {
    while (p < end && isSpace(*p))
        ++p;
    return p;
}

// The outcome of checking a whole text before it is scanned.
struct TextCheck {
    size_t badOffset = std::string_view::npos; // first byte that is not a legal character
    uint32_t badCodePoint = 0;                 // its value, when it decodes
    bool badEncoding = false;                  // malformed UTF-8 rather than an illegal character
    size_t lessThanCount = 0;                  // '<' bytes: an upper bound for the nodes of a tree
};
// Called every few megabytes of a check with how far it has got.
using TextPassed = std::function<void(size_t offset)>;
// Checks that the text is well-formed UTF-8 holding only legal characters.
TextCheck checkText(std::string_view text, const TextPassed& passed = {});

} // namespace xml_chars
