#pragma once

#include "companion/crypto/HashEngine.h"
#include "companion/crypto/OpensslPtr.h"

// A digest computed by OpenSSL.
class EvpHashEngine : public HashEngine {
public:
    // False when OpenSSL does not offer the digest.
    bool init(const char* evpName);
    bool update(const unsigned char* data, size_t len) override;
    bool finish(unsigned char* out) override;

private:
    MdCtxPtr m_ctx;
};
