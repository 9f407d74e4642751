#include "companion/crypto/Ripemd128.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace {

constexpr int kStepsPerRound = 16;
constexpr int kRounds = 4;
constexpr size_t kLengthFieldLen = 8;

// Message word selection and rotation amounts of the left and right lines.
constexpr uint8_t kWordLeft[64] = {0,  1,  2,  3,  4, 5, 6,  7,  8,  9, 10, 11, 12, 13, 14, 15, 7,  4, 13, 1, 10, 6,
                                   15, 3,  12, 0,  9, 5, 2,  14, 11, 8, 3,  10, 14, 4,  9,  15, 8,  1, 2,  7, 0,  6,
                                   13, 11, 5,  12, 1, 9, 11, 10, 0,  8, 12, 4,  13, 3,  7,  15, 14, 5, 6,  2};
constexpr uint8_t kWordRight[64] = {5,  14, 7,  0,  9, 2,  11, 4, 13, 6,  15, 8, 1, 10, 3, 12, 6, 11, 3,  7, 0,  13,
                                    5,  10, 14, 15, 8, 12, 4,  9, 1,  2,  15, 5, 1, 3,  7, 14, 6, 9,  11, 8, 12, 2,
                                    10, 0,  4,  13, 8, 6,  4,  1, 3,  11, 15, 0, 5, 12, 2, 13, 9, 7,  10, 14};
constexpr uint8_t kShiftLeft[64] = {11, 14, 15, 12, 5,  8,  7,  9,  11, 13, 14, 15, 6, 7,  9,  8, 7,  6,  8,  13, 11, 9,
                                    7,  15, 7,  12, 15, 9,  11, 7,  13, 12, 11, 13, 6, 7,  14, 9, 13, 15, 14, 8,  13, 6,
                                    5,  12, 7,  5,  11, 12, 14, 15, 14, 15, 9,  8,  9, 14, 5,  6, 8,  6,  5,  12};
constexpr uint8_t kShiftRight[64] = {8,  9,  9,  11, 13, 15, 15, 5,  7,  7,  8,  11, 14, 14, 12, 6,
                                     9,  13, 15, 7,  12, 8,  9,  11, 7,  7,  12, 7,  6,  15, 13, 11,
                                     9,  7,  15, 11, 8,  6,  6,  14, 12, 13, 5,  14, 13, 13, 7,  5,
                                     15, 5,  8,  11, 14, 14, 6,  14, 6,  9,  12, 9,  12, 5,  15, 8};
constexpr uint32_t kConstLeft[kRounds] = {0x00000000u, 0x5a827999u, 0x6ed9eba1u, 0x8f1bbcdcu};
constexpr uint32_t kConstRight[kRounds] = {0x50a28be6u, 0x5c4dd124u, 0x6d703ef3u, 0x00000000u};

// The boolean function of a round; the right line takes them in reverse order.
uint32_t roundFunction(int round, uint32_t x, uint32_t y, uint32_t z) {
    switch (round) {
    case 0:
        return x ^ y ^ z;
    case 1:
        return (x & y) | (~x & z);
    case 2:
        return (x | ~y) ^ z;
    default:
        return (x & z) | (y & ~z);
    }
}

uint32_t loadLittleEndian(const uint8_t* p) {
    return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) | (static_cast<uint32_t>(p[2]) << 16) |
           (static_cast<uint32_t>(p[3]) << 24);
}

void storeLittleEndian(uint64_t v, uint8_t* p, size_t n) {
    for (size_t i = 0; i < n; ++i)
        p[i] = static_cast<uint8_t>(v >> (8 * i));
}

struct Line {
    uint32_t a, b, c, d;

    void step(uint32_t f, uint32_t word, uint32_t k, int shift) {
        const uint32_t t = std::rotl(a + f + word + k, shift);
        a = d;
        d = c;
        c = b;
        b = t;
    }
};

} // namespace

void Ripemd128::processBlock(const uint8_t* block) {
    uint32_t x[16];
    for (size_t i = 0; i < 16; ++i)
        x[i] = loadLittleEndian(block + 4 * i);

    Line left{m_h[0], m_h[1], m_h[2], m_h[3]};
    Line right = left;
    for (int i = 0; i < kRounds * kStepsPerRound; ++i) {
        const int round = i / kStepsPerRound;
        left.step(roundFunction(round, left.b, left.c, left.d), x[kWordLeft[i]], kConstLeft[round], kShiftLeft[i]);
        right.step(roundFunction(kRounds - 1 - round, right.b, right.c, right.d), x[kWordRight[i]], kConstRight[round],
                   kShiftRight[i]);
    }
    const uint32_t t = m_h[1] + left.c + right.d;
    m_h[1] = m_h[2] + left.d + right.a;
    m_h[2] = m_h[3] + left.a + right.b;
    m_h[3] = m_h[0] + left.b + right.c;
    m_h[0] = t;
}

bool Ripemd128::update(const unsigned char* data, size_t len) {
    m_totalBytes += len;
    while (len > 0) {
        const size_t take = std::min(len, kBlockLen - m_buffered);
        std::memcpy(m_buffer.data() + m_buffered, data, take);
        m_buffered += take;
        data += take;
        len -= take;
        if (m_buffered == kBlockLen) {
            processBlock(m_buffer.data());
            m_buffered = 0;
        }
    }
    return true;
}

bool Ripemd128::finish(unsigned char* out) {
    const uint64_t bitLength = m_totalBytes * 8;
    const uint8_t marker = 0x80;
    update(&marker, 1);
    const uint8_t zero = 0;
    while (m_buffered != kBlockLen - kLengthFieldLen)
        update(&zero, 1);
    uint8_t lengthField[kLengthFieldLen];
    storeLittleEndian(bitLength, lengthField, kLengthFieldLen);
    update(lengthField, kLengthFieldLen);
    for (size_t i = 0; i < m_h.size(); ++i)
        storeLittleEndian(m_h[i], out + 4 * i, 4);
    return true;
}
