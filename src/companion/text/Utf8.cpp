#include "companion/text/Utf8.h"

#include <cstring>

namespace {

constexpr uint64_t kHighBits = 0x8080808080808080ULL;

bool isContinuation(unsigned char c) {
    return (c & 0xC0) == 0x80;
}

// Length of the well-formed sequence at p (1..4), or 0 when it is malformed.
// The ranges are those of the Unicode table of well-formed byte sequences.
size_t sequenceLength(const unsigned char* p, size_t avail) {
    const unsigned char c = p[0];
    if (c < 0x80)
        return 1;
    if (c < 0xC2 || c > 0xF4)
        return 0;
    const size_t len = c < 0xE0 ? 2 : (c < 0xF0 ? 3 : 4);
    if (avail < len)
        return 0;
    unsigned char lo = 0x80, hi = 0xBF;
    if (c == 0xE0)
        lo = 0xA0; // overlong
    else if (c == 0xED)
        hi = 0x9F; // surrogates
    else if (c == 0xF0)
        lo = 0x90; // overlong
    else if (c == 0xF4)
        hi = 0x8F; // above U+10FFFF
    if (p[1] < lo || p[1] > hi)
        return 0;
    for (size_t i = 2; i < len; ++i)
        if (!isContinuation(p[i]))
            return 0;
    return len;
}

// Documents are mostly ASCII: it is skipped 32 bytes at a step, then up to
// the first other byte eight at a step.
size_t skipAscii(const unsigned char* p, size_t i, size_t n) {
    constexpr size_t kWord = sizeof(uint64_t);
    constexpr size_t kBlock = 4 * kWord;
    uint64_t w[4];
    while (i + kBlock <= n) {
        std::memcpy(w, p + i, kBlock);
        if (((w[0] | w[1] | w[2] | w[3]) & kHighBits) != 0)
            break;
        i += kBlock;
    }
    while (i + kWord <= n) {
        std::memcpy(w, p + i, kWord);
        if ((w[0] & kHighBits) != 0)
            break;
        i += kWord;
    }
    while (i < n && p[i] < 0x80)
        ++i;
    return i;
}

} // namespace

size_t validUtf8Prefix(std::string_view bytes) {
    const auto* p = reinterpret_cast<const unsigned char*>(bytes.data());
    const size_t n = bytes.size();
    size_t i = 0;
    while (i < n) {
        i = skipAscii(p, i, n);
        if (i == n)
            break;
        const size_t len = sequenceLength(p + i, n - i);
        if (len == 0)
            return i;
        i += len;
    }
    return n;
}

bool isValidUtf8(std::string_view bytes) {
    return validUtf8Prefix(bytes) == bytes.size();
}

void appendUtf8(char32_t cp, std::string& out) {
    if (cp < 0x80) {
        out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
}

size_t leadingUtf8BomLength(std::string_view bytes) {
    size_t n = 0;
    while (bytes.substr(n).starts_with(kUtf8Bom))
        n += kUtf8Bom.size();
    return n;
}
