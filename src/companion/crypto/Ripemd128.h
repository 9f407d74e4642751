#pragma once

#include "companion/crypto/HashEngine.h"

#include <array>
#include <cstdint>

// RIPEMD-128 (Dobbertin, Bosselaers, Preneel). OpenSSL has never offered it;
// some signers still name it.
class Ripemd128 : public HashEngine {
public:
    static constexpr size_t kDigestLen = 16;

    bool update(const unsigned char* data, size_t len) override;
    bool finish(unsigned char* out) override;

private:
    static constexpr size_t kBlockLen = 64;
    void processBlock(const uint8_t* block);

    std::array<uint32_t, 4> m_h{0x67452301u, 0xefcdab89u, 0x98badcfeu, 0x10325476u};
    std::array<uint8_t, kBlockLen> m_buffer{};
    size_t m_buffered = 0;
    uint64_t m_totalBytes = 0;
};
