#pragma once

#include <string>
#include <string_view>

class DataBuffer;
class LogBase;
class XString;

// Binary-to-text encodings chosen by name (case-insensitive):
//   "base64"                       RFC 4648, white space tolerated when decoding
//   "hex"                          upper-case when encoding, either case decoded
//   "hex_lower"                    lower-case when encoding
//   "decimal"                      the bytes as one unsigned big-endian integer
//   "ascii", "us-ascii", "utf-8", "utf8"   the bytes as they are
class TextCodec {
public:
    TextCodec() = default;
    virtual ~TextCodec() = default;

    void put_EncodingMode(const XString& name);
    void get_EncodingMode(XString& out) const;

    // Decodes text in the current encoding into out (appending when
    // `append`, else replacing). False, with an error line, for an unknown
    // encoding or malformed text; out is then unchanged.
    bool decodeBinary(const XString& text, DataBuffer& out, bool append, LogBase& log) const;
    // Encodes bytes in the current encoding into out (appending when
    // `append`, else replacing). False, with an error line, for an unknown
    // encoding.
    bool encodeBinary(const DataBuffer& bytes, XString& out, bool append, LogBase& log) const;

    static bool isKnownEncoding(std::string_view name);
    // Both append to out and leave it unchanged on failure.
    static bool decodeByName(std::string_view text, std::string_view encoding, std::string& out);
    static bool encodeByName(std::string_view bytes, std::string_view encoding, std::string& out);

    static void encodeHex(std::string_view bytes, bool lowerCase, std::string& out);
    // Skips white space; fails on an odd number of digits or a non-hex character.
    static bool decodeHex(std::string_view text, std::string& out);
    static bool isHexDigit(char c);
    // Not empty, and hex digits only.
    static bool isHexText(std::string_view text);

private:
    std::string m_mode = "base64";
};
