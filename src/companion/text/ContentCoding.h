#pragma once

#include <cstddef>
#include <string>
#include <string_view>

class DataBuffer;
class StringBuffer;

// Base64 (RFC 4648, standard alphabet).
class ContentCoding {
public:
    // Appends the padded base64 form of the bytes, on one line.
    static void encodeBase64(const void* data, size_t n, std::string& out);
    static void encodeBase64(const void* data, size_t n, StringBuffer& out);

    // Decodes base64 text and appends the bytes. White space anywhere in
    // the text is skipped (XML content wraps base64 freely) and the final
    // padding may be missing; any other character fails, leaving out as it
    // was.
    static bool decodeBase64(std::string_view text, std::string& out);
    static bool decodeBase64ToDb(std::string_view text, DataBuffer& out);
};
