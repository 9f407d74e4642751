#include "companion/crypto/DigestFetch.h"

#include <openssl/crypto.h>
#include <openssl/err.h>

#include <map>
#include <mutex>
#include <optional>
#include <string>

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

// A failed fetch is an expected answer here, not an error to leave queued.
MdPtr quietFetch(OSSL_LIB_CTX* ctx, const char* evpName) {
    ERR_set_mark();
    MdPtr md(EVP_MD_fetch(ctx, evpName, nullptr));
    ERR_pop_to_mark();
    return md;
}

struct FetchedDigest {
    OSSL_LIB_CTX* ctx = nullptr;
    MdPtr md;
};

// Each digest is fetched once per process: a fetch by name takes the
// library's locks and looks the name up on every call. The names come from
// the fixed table of hash algorithms, so the table stays small.
class FetchedDigests {
public:
    // OpenSSL is set up first, so that its clean-up at exit, registered
    // then, runs after the fetched digests are freed.
    FetchedDigests() { OPENSSL_init_crypto(0, nullptr); }

    const FetchedDigest& get(const char* evpName) {
        const std::lock_guard lock(m_mutex);
        auto it = m_fetched.find(evpName);
        if (it == m_fetched.end())
            it = m_fetched.emplace(evpName, fetch(evpName)).first;
        return it->second;
    }

private:
    FetchedDigest fetch(const char* evpName) {
        if (MdPtr md = quietFetch(nullptr, evpName))
            return {OSSL_LIB_CTX_get0_global_default(), std::move(md)};
        // Loaded only when a digest needs it.
        if (!m_legacy)
            m_legacy.emplace();
        OSSL_LIB_CTX* legacy = m_legacy->get();
        if (MdPtr md = legacy ? quietFetch(legacy, evpName) : nullptr)
            return {legacy, std::move(md)};
        return {};
    }

    // Declared first, so that the digests fetched from it are freed before it.
    std::optional<LegacyProviderContext> m_legacy;
    std::mutex m_mutex;
    std::map<std::string, FetchedDigest, std::less<>> m_fetched;
};

const FetchedDigest& fetched(const char* evpName) {
    static FetchedDigests digests;
    return digests.get(evpName);
}

} // namespace

OSSL_LIB_CTX* digestLibCtx(const char* evpName) {
    return fetched(evpName).ctx;
}

MdPtr fetchDigest(const char* evpName) {
    EVP_MD* md = fetched(evpName).md.get();
    if (md)
        EVP_MD_up_ref(md);
    return MdPtr(md);
}
