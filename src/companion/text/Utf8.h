#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// The UTF-8 encoding of U+FEFF, which some writers put at the start of a
// document (some more than once).
inline constexpr std::string_view kUtf8Bom = "\xEF\xBB\xBF";

// True when the bytes are well-formed UTF-8: shortest forms only, no
// surrogates, nothing above U+10FFFF.
bool isValidUtf8(std::string_view bytes);
// The length of the longest well-formed prefix: where the first malformed
// sequence starts, or the size when there is none.
size_t validUtf8Prefix(std::string_view bytes);

// Appends the UTF-8 form of a code point (which must be a scalar value).
void appendUtf8(char32_t codePoint, std::string& out);

// The number of bytes taken by the leading UTF-8 byte-order marks.
size_t leadingUtf8BomLength(std::string_view bytes);
