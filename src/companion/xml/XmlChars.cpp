#include "companion/xml/XmlChars.h"

#include <array>
#include <bit>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace xml_chars {
namespace {

enum : uint8_t { kNameStart = 1, kName = 2 };

constexpr std::array<uint8_t, 128> makeAsciiNameTable() {
    std::array<uint8_t, 128> t{};
    for (int c = 'a'; c <= 'z'; ++c)
        t[c] = kNameStart | kName;
    for (int c = 'A'; c <= 'Z'; ++c)
        t[c] = kNameStart | kName;
    t[':'] = t['_'] = kNameStart | kName;
    for (int c = '0'; c <= '9'; ++c)
        t[c] = kName;
    t['-'] = t['.'] = kName;
    return t;
}
constexpr std::array<uint8_t, 128> kAsciiName = makeAsciiNameTable();

// Decodes one sequence of text already checked to be valid UTF-8.
inline uint32_t decodeValid(const char*& p) {
    const auto b0 = static_cast<unsigned char>(*p);
    if (b0 < 0x80) {
        ++p;
        return b0;
    }
    const int len = b0 >= 0xF0 ? 4 : b0 >= 0xE0 ? 3 : 2;
    uint32_t cp = b0 & (0x7F >> len);
    for (int i = 1; i < len; ++i)
        cp = (cp << 6) | (static_cast<unsigned char>(p[i]) & 0x3F);
    p += len;
    return cp;
}

// One name character at q (a start character when `start`): the byte after
// it, or null when there is none.
inline const char* nameChar(const char* q, const char* end, bool start) {
    const auto c = static_cast<unsigned char>(*q);
    if (c < 0x80)
        return (kAsciiName[c] & (start ? kNameStart : kName)) ? q + 1 : nullptr;
    if (q + (c >= 0xF0 ? 4 : c >= 0xE0 ? 3 : 2) > end)
        return nullptr;
    const uint32_t cp = decodeValid(q);
    return (start ? isNameStartCodePoint(cp) : isNameCodePoint(cp)) ? q : nullptr;
}

template <bool FirstIsStart> const char* scanNameChars(const char* p, const char* end) {
    const char* q = p;
    if (FirstIsStart) {
        const char* next = q < end ? nameChar(q, end, true) : nullptr;
        if (!next)
            return q;
        q = next;
    }
    for (;;) {
        // Names are mostly ASCII: a tight loop for those bytes.
        while (q < end && static_cast<unsigned char>(*q) < 0x80 && (kAsciiName[static_cast<unsigned char>(*q)] & kName))
            ++q;
        if (q == end || static_cast<unsigned char>(*q) < 0x80)
            return q;
        const char* next = nameChar(q, end, false);
        if (!next)
            return q;
        q = next;
    }
}

// Length of the valid UTF-8 sequence at p holding a legal character, or 0.
size_t legalSequenceLength(const unsigned char* p, const unsigned char* end, uint32_t& cp) {
    const unsigned char b0 = p[0];
    auto cont = [&](size_t i) { return p + i < end && (p[i] & 0xC0) == 0x80; };
    if (b0 >= 0xC2 && b0 <= 0xDF) {
        if (!cont(1))
            return 0;
        cp = ((b0 & 0x1Fu) << 6) | (p[1] & 0x3Fu);
        return 2;
    }
    if (b0 >= 0xE0 && b0 <= 0xEF) {
        if (!cont(1) || !cont(2))
            return 0;
        cp = ((b0 & 0x0Fu) << 12) | ((p[1] & 0x3Fu) << 6) | (p[2] & 0x3Fu);
        if (cp < 0x800) {
            cp = 0;
            return 0;
        }
        return isXmlChar(cp) ? 3 : 0;
    }
    if (b0 >= 0xF0 && b0 <= 0xF4) {
        if (!cont(1) || !cont(2) || !cont(3))
            return 0;
        cp = ((b0 & 0x07u) << 18) | ((p[1] & 0x3Fu) << 12) | ((p[2] & 0x3Fu) << 6) | (p[3] & 0x3Fu);
        if (cp < 0x10000 || cp > 0x10FFFF) {
            cp = 0;
            return 0;
        }
        return 4;
    }
    return 0;
}

// Bits set in each byte value: std::popcount is a library call on x86-64
// without the POPCNT instruction.
constexpr auto kBitCounts = [] {
    std::array<uint8_t, 256> t{};
    for (unsigned i = 0; i < t.size(); ++i)
        t[i] = static_cast<uint8_t>(std::popcount(i));
    return t;
}();

inline size_t countBits16(unsigned mask) {
    return kBitCounts[mask & 0xFF] + kBitCounts[(mask >> 8) & 0xFF];
}

// Skips the printable ASCII (0x20..0x7E, and DEL) at p, where most markup
// and text is, sixteen bytes at a step, counting the '<' it passes.
inline const unsigned char* skipPrintableAscii(const unsigned char* p, const unsigned char* end,
                                               size_t& lessThanCount) {
#if defined(__SSE2__)
    const __m128i space = _mm_set1_epi8(0x20);
    const __m128i lessThan = _mm_set1_epi8('<');
    for (; end - p >= 16; p += 16) {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        // Signed: bytes from 0x80 up are negative, so one compare finds
        // them and the control characters.
        const auto others = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmplt_epi8(block, space)));
        const auto lessThans = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(block, lessThan)));
        if (others != 0) {
            const int ascii = std::countr_zero(others);
            lessThanCount += countBits16(lessThans & ((1u << ascii) - 1));
            return p + ascii;
        }
        lessThanCount += countBits16(lessThans);
    }
#else
    (void)end;
    (void)lessThanCount;
#endif
    return p;
}

// How much of a text is checked between two reports of progress.
constexpr size_t kPassedStep = 8u << 20;

// Checks from p to at least stretchEnd (a character that starts before it
// is read whole, up to end); false at the first bad byte, noted in result.
bool checkStretch(const unsigned char* begin, const unsigned char*& p, const unsigned char* stretchEnd,
                  const unsigned char* end, TextCheck& result) {
    while (p < stretchEnd) {
        p = skipPrintableAscii(p, stretchEnd, result.lessThanCount);
        if (p == stretchEnd)
            break;
        const unsigned char c = *p;
        if (c < 0x80) {
            if (c < 0x20 && c != '\t' && c != '\n' && c != '\r') {
                result.badOffset = static_cast<size_t>(p - begin);
                result.badCodePoint = c;
                return false;
            }
            result.lessThanCount += c == '<';
            ++p;
            continue;
        }
        uint32_t cp = 0;
        const size_t len = legalSequenceLength(p, end, cp);
        if (len == 0) {
            result.badOffset = static_cast<size_t>(p - begin);
            result.badCodePoint = cp;
            result.badEncoding = cp == 0;
            return false;
        }
        p += len;
    }
    return true;
}

} // namespace

bool isNameStartCodePoint(uint32_t cp) {
    if (cp < 0x80)
        return kAsciiName[cp] & kNameStart;
    return (cp >= 0xC0 && cp <= 0xD6) || (cp >= 0xD8 && cp <= 0xF6) || (cp >= 0xF8 && cp <= 0x2FF) ||
           (cp >= 0x370 && cp <= 0x37D) || (cp >= 0x37F && cp <= 0x1FFF) || (cp >= 0x200C && cp <= 0x200D) ||
           (cp >= 0x2070 && cp <= 0x218F) || (cp >= 0x2C00 && cp <= 0x2FEF) || (cp >= 0x3001 && cp <= 0xD7FF) ||
           (cp >= 0xF900 && cp <= 0xFDCF) || (cp >= 0xFDF0 && cp <= 0xFFFD) || (cp >= 0x10000 && cp <= 0xEFFFF);
}

bool isNameCodePoint(uint32_t cp) {
    if (cp < 0x80)
        return kAsciiName[cp] & kName;
    return isNameStartCodePoint(cp) || cp == 0xB7 || (cp >= 0x300 && cp <= 0x36F) || (cp >= 0x203F && cp <= 0x2040);
}

const char* scanName(const char* p, const char* end) {
    return scanNameChars<true>(p, end);
}
const char* scanNmtoken(const char* p, const char* end) {
    return scanNameChars<false>(p, end);
}

TextCheck checkText(std::string_view text, const TextPassed& passed) {
    TextCheck result;
    const auto* const begin = reinterpret_cast<const unsigned char*>(text.data());
    const auto* const end = begin + text.size();
    const auto* p = begin;
    while (p < end) {
        const auto* const stretchEnd = static_cast<size_t>(end - p) > kPassedStep ? p + kPassedStep : end;
        if (!checkStretch(begin, p, stretchEnd, end, result))
            return result;
        if (passed)
            passed(static_cast<size_t>(p - begin));
    }
    return result;
}

} // namespace xml_chars
