#include "companion/text/ContentCoding.h"

#include "companion/text/DataBuffer.h"
#include "companion/text/StringBuffer.h"

#include <array>
#include <cstdint>
#include <utility>

namespace {

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char kPadChar = '=';

// Decode-table values that are not 6-bit symbols.
constexpr uint8_t kSkip = 64;
constexpr uint8_t kPad = 65;
constexpr uint8_t kBad = 255;

constexpr std::array<uint8_t, 256> makeDecodeTable() {
    std::array<uint8_t, 256> table{};
    table.fill(kBad);
    for (size_t i = 0; i < kAlphabet.size(); ++i)
        table[static_cast<unsigned char>(kAlphabet[i])] = static_cast<uint8_t>(i);
    for (char c : {' ', '\t', '\r', '\n', '\f', '\v'})
        table[static_cast<unsigned char>(c)] = kSkip;
    table[static_cast<unsigned char>(kPadChar)] = kPad;
    return table;
}

constexpr std::array<uint8_t, 256> kDecode = makeDecodeTable();

// Whether `pads` padding characters may follow a final group of `symbols`
// symbols (0..3).
bool validTail(int symbols, int pads) {
    switch (symbols) {
    case 0:
        return pads == 0;
    case 2:
        return pads == 0 || pads == 2;
    case 3:
        return pads == 0 || pads == 1;
    default:
        return false;
    }
}

char byteAt(uint32_t bits, int shift) {
    return static_cast<char>((bits >> shift) & 0xFF);
}

} // namespace

void ContentCoding::encodeBase64(const void* data, size_t n, std::string& out) {
    const auto* p = static_cast<const unsigned char*>(data);
    const size_t start = out.size();
    out.resize(start + (n + 2) / 3 * 4);
    char* dst = out.data() + start;
    size_t i = 0;
    for (; i + 3 <= n; i += 3) {
        const uint32_t v = uint32_t{p[i]} << 16 | uint32_t{p[i + 1]} << 8 | p[i + 2];
        *dst++ = kAlphabet[v >> 18];
        *dst++ = kAlphabet[(v >> 12) & 0x3F];
        *dst++ = kAlphabet[(v >> 6) & 0x3F];
        *dst++ = kAlphabet[v & 0x3F];
    }
    const size_t rest = n - i;
    if (rest == 0)
        return;
    const uint32_t v = uint32_t{p[i]} << 16 | (rest == 2 ? uint32_t{p[i + 1]} << 8 : 0);
    *dst++ = kAlphabet[v >> 18];
    *dst++ = kAlphabet[(v >> 12) & 0x3F];
    *dst++ = rest == 2 ? kAlphabet[(v >> 6) & 0x3F] : kPadChar;
    *dst = kPadChar;
}

void ContentCoding::encodeBase64(const void* data, size_t n, StringBuffer& out) {
    encodeBase64(data, n, out.raw());
}

bool ContentCoding::decodeBase64(std::string_view text, std::string& out) {
    const size_t start = out.size();
    out.resize(start + text.size() / 4 * 3 + 3);
    char* dst = out.data() + start;
    const auto* p = reinterpret_cast<const unsigned char*>(text.data());
    const auto* end = p + text.size();
    auto fail = [&] {
        out.resize(start);
        return false;
    };

    uint32_t bits = 0;
    int symbols = 0;
    while (p < end) {
        // Fast path: a whole group with nothing between its symbols.
        if (symbols == 0 && end - p >= 4) {
            const uint32_t a = kDecode[p[0]], b = kDecode[p[1]], c = kDecode[p[2]], d = kDecode[p[3]];
            if ((a | b | c | d) < kSkip) {
                const uint32_t v = a << 18 | b << 12 | c << 6 | d;
                *dst++ = byteAt(v, 16);
                *dst++ = byteAt(v, 8);
                *dst++ = byteAt(v, 0);
                p += 4;
                continue;
            }
        }
        const uint8_t v = kDecode[*p];
        if (v == kPad)
            break;
        ++p;
        if (v == kSkip)
            continue;
        if (v == kBad)
            return fail();
        bits = bits << 6 | v;
        if (++symbols == 4) {
            *dst++ = byteAt(bits, 16);
            *dst++ = byteAt(bits, 8);
            *dst++ = byteAt(bits, 0);
            bits = 0;
            symbols = 0;
        }
    }

    // Only padding and white space may follow the last symbol.
    int pads = 0;
    for (; p < end; ++p) {
        const uint8_t v = kDecode[*p];
        if (v == kPad)
            ++pads;
        else if (v != kSkip)
            return fail();
    }
    if (!validTail(symbols, pads))
        return fail();
    if (symbols == 2) {
        *dst++ = byteAt(bits, 4);
    } else if (symbols == 3) {
        *dst++ = byteAt(bits, 10);
        *dst++ = byteAt(bits, 2);
    }
    out.resize(static_cast<size_t>(dst - out.data()));
    return true;
}

bool ContentCoding::decodeBase64ToDb(std::string_view text, DataBuffer& out) {
    std::string bytes = out.takeString();
    const bool ok = decodeBase64(text, bytes);
    out.takeString(std::move(bytes));
    return ok;
}
