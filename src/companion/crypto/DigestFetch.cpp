#include "companion/crypto/DigestFetch.h"

#include <openssl/err.h>

namespace {

// A library context of its own with the legacy provider (and the default
// one beside it), so that the process-wide context stays untouched.
class LegacyProviderContext {
public:
    LegacyProviderContext()
        : m_ctx(OSSL_LIB_CTX_new()), m_default(OSSL_PROVIDER_load(m_ctx.get(), "default")),
          m_legacy(OSSL_PROVIDER_load(m_ctx.get(), "legacy")) {}

    OSSL_LIB_CTX* get() const { return m_legacy ? m_ctx.get() : nullptr; }

private:
    LibCtxPtr m_ctx;
    ProviderPtr m_default;
    ProviderPtr m_legacy;
};

OSSL_LIB_CTX* legacyLibCtx() {
    static const LegacyProviderContext context;
    return context.get();
}

// A failed fetch is an expected answer here, not an error to leave queued.
MdPtr quietFetch(OSSL_LIB_CTX* ctx, const char* evpName) {
    ERR_set_mark();
    MdPtr md(EVP_MD_fetch(ctx, evpName, nullptr));
    ERR_pop_to_mark();
    return md;
}

} // namespace

OSSL_LIB_CTX* digestLibCtx(const char* evpName) {
    if (quietFetch(nullptr, evpName))
        return OSSL_LIB_CTX_get0_global_default();
    OSSL_LIB_CTX* legacy = legacyLibCtx();
    return (legacy && quietFetch(legacy, evpName)) ? legacy : nullptr;
}

MdPtr fetchDigest(const char* evpName) {
    MdPtr md = quietFetch(nullptr, evpName);
    if (md)
        return md;
    OSSL_LIB_CTX* legacy = legacyLibCtx();
    return legacy ? quietFetch(legacy, evpName) : MdPtr();
}
