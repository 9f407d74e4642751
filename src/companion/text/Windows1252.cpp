#include "companion/text/Windows1252.h"

#include "companion/text/Utf8.h"

#include <array>

namespace {

// Code points of the bytes 0x80..0x9F; the rest of the code page is Latin-1.
constexpr std::array<char32_t, 32> kHighControls = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

char32_t codePointOf(unsigned char b) {
    if (b >= 0x80 && b < 0xA0)
        return kHighControls[b - 0x80];
    return b;
}

} // namespace

void appendWindows1252AsUtf8(std::string_view bytes, std::string& out) {
    out.reserve(out.size() + bytes.size() + bytes.size() / 4);
    for (char c : bytes)
        appendUtf8(codePointOf(static_cast<unsigned char>(c)), out);
}
