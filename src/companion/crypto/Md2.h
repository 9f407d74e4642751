#pragma once

#include "companion/crypto/HashEngine.h"

#include <array>
#include <cstdint>

// MD2 (RFC 1319). OpenSSL 3 no longer ships it, and old signatures still
// name it.
class Md2 : public HashEngine {
public:
    static constexpr size_t kDigestLen = 16;

    bool update(const unsigned char* data, size_t len) override;
    bool finish(unsigned char* out) override;

private:
    static constexpr size_t kBlockLen = 16;
    void processBlock(const uint8_t* block);

    std::array<uint8_t, 3 * kBlockLen> m_state{};
    std::array<uint8_t, kBlockLen> m_checksum{};
    std::array<uint8_t, kBlockLen> m_buffer{};
    size_t m_buffered = 0;
};
