#pragma once

#include <string>
#include <string_view>

class DataBuffer;

// A named character set, and conversions between it and UTF-8. Names are
// those that iconv knows, case-insensitive, plus a few common aliases
// ("ansi", "unicode", "utf-16" meaning little-endian without a BOM).
class Charset {
public:
    Charset() = default;
    virtual ~Charset() = default;

    // False, leaving the charset as it was, when the name is unknown.
    bool setByName(std::string_view name);
    // The name as iconv knows it, e.g. "UTF-8", "WINDOWS-1252".
    const std::string& getName() const { return m_name; }
    bool isUtf8() const;

    // Appends UTF-8 text converted to this charset; false (out unchanged)
    // when the text is not valid UTF-8 or holds a character this charset
    // cannot represent.
    bool fromUtf8(std::string_view utf8, DataBuffer& out) const;
    // Appends text in this charset converted to UTF-8; false (out
    // unchanged) when the bytes are malformed in this charset, with
    // rejectedAt, when given, the offset where they stop being well-formed.
    bool toUtf8(std::string_view bytes, std::string& out, size_t* rejectedAt = nullptr) const;

private:
    std::string m_name = "UTF-8";
};
