#include "companion/crypto/EvpHashEngine.h"

#include "companion/crypto/DigestFetch.h"

bool EvpHashEngine::init(const char* evpName) {
    const MdPtr md = fetchDigest(evpName);
    m_ctx.reset(EVP_MD_CTX_new());
    return md && m_ctx && EVP_DigestInit_ex2(m_ctx.get(), md.get(), nullptr) == 1;
}

bool EvpHashEngine::update(const unsigned char* data, size_t len) {
    return m_ctx && EVP_DigestUpdate(m_ctx.get(), data, len) == 1;
}

bool EvpHashEngine::finish(unsigned char* out) {
    return m_ctx && EVP_DigestFinal_ex(m_ctx.get(), out, nullptr) == 1;
}
