#pragma once

#include <iconv.h>

#include <string>
#include <string_view>

// One iconv conversion descriptor, closed on destruction. Conversions are
// strict: input that is malformed in the source charset, or that the target
// charset cannot represent, fails the whole conversion.
class IconvConverter {
public:
    IconvConverter(const std::string& toCharset, const std::string& fromCharset);
    ~IconvConverter();
    IconvConverter(const IconvConverter&) = delete;
    IconvConverter& operator=(const IconvConverter&) = delete;

    // False when iconv does not know one of the two charsets.
    bool isOpen() const { return m_cd != invalidHandle(); }
    // Appends the converted text to out; on failure out is left as it was
    // and, when given, rejectedAt is the offset of the first input byte that
    // did not convert.
    bool convert(std::string_view in, std::string& out, size_t* rejectedAt = nullptr);

private:
    // What iconv_open returns on failure.
    static iconv_t invalidHandle() { return reinterpret_cast<iconv_t>(-1); }

    iconv_t m_cd;
};
