#include "companion/pki/DecodedCertificateCache.h"

#include "companion/crypto/PublicKeyDecode.h"

#include <openssl/crypto.h>
#include <openssl/err.h>

#include <array>

namespace {

X509Ptr sharedX509(const X509Ptr& x509) {
    X509_up_ref(x509.get());
    return X509Ptr(x509.get());
}

PkeyPtr sharedPkey(const PkeyPtr& pkey) {
    if (!pkey)
        return nullptr;
    EVP_PKEY_up_ref(pkey.get());
    return PkeyPtr(pkey.get());
}

DecodedCertificateCache::Certificate decodeCertificate(std::string_view der) {
    const auto* start = reinterpret_cast<const unsigned char*>(der.data());
    const unsigned char* p = start;
    X509Ptr x509(d2i_X509(nullptr, &p, static_cast<long>(der.size())));
    if (!x509) {
        ERR_clear_error();
        return {};
    }
    return {std::move(x509), static_cast<size_t>(p - start)};
}

// The key as a SubjectPublicKeyInfo read on its own gives it, which is how
// a certificate's key has always been read here.
PkeyPtr decodePublicKey(const X509& x509) {
    unsigned char* der = nullptr;
    const int n = i2d_X509_PUBKEY(X509_get_X509_PUBKEY(&x509), &der);
    if (n <= 0) {
        ERR_clear_error();
        return nullptr;
    }
    PkeyPtr pkey = public_key_decode::fromKeyDer({reinterpret_cast<const char*>(der), static_cast<size_t>(n)});
    OPENSSL_free(der);
    return pkey;
}

// One certificate a thread was given lately.
struct FrontEntry {
    uint64_t cacheId = 0;
    uint64_t generation = 0;
    std::string der;
    X509Ptr x509;
    size_t derLength = 0;
    PkeyPtr pkey;
    bool pkeyDecoded = false;
};

// A thread's front: its last certificates, the oldest replaced first.
class ThreadFront {
public:
    FrontEntry* find(uint64_t cacheId, uint64_t generation, std::string_view der) {
        for (FrontEntry& e : m_entries)
            if (e.x509 && e.cacheId == cacheId && e.generation == generation && e.der == der)
                return &e;
        return nullptr;
    }
    void remember(uint64_t cacheId, uint64_t generation, std::string_view der,
                  const DecodedCertificateCache::Certificate& decoded) {
        FrontEntry& e = m_entries[m_next];
        m_next = (m_next + 1) % m_entries.size();
        e = FrontEntry{cacheId, generation, std::string(der), sharedX509(decoded.x509), decoded.derLength,
                       nullptr, false};
    }

private:
    std::array<FrontEntry, DecodedCertificateCache::kThreadFrontEntries> m_entries;
    size_t m_next = 0;
};

thread_local ThreadFront t_front;

std::atomic<uint64_t> g_lastCacheId{0};

} // namespace

// OpenSSL is set up first, so that its clean-up at exit, registered then,
// runs after the cached objects are freed.
DecodedCertificateCache::DecodedCertificateCache() : m_id(++g_lastCacheId) {
    OPENSSL_init_crypto(0, nullptr);
}

DecodedCertificateCache& DecodedCertificateCache::process() {
    static DecodedCertificateCache cache;
    return cache;
}

DecodedCertificateCache::Certificate DecodedCertificateCache::certificate(std::string_view der) {
    const uint64_t generation = m_generation.load();
    if (const FrontEntry* e = t_front.find(m_id, generation, der))
        return {sharedX509(e->x509), e->derLength};
    Certificate decoded = sharedCertificate(der);
    if (decoded.x509 && der.size() <= kMaxCertificateBytes)
        t_front.remember(m_id, generation, der, decoded);
    return decoded;
}

PkeyPtr DecodedCertificateCache::publicKey(std::string_view certDer, const X509& x509) {
    FrontEntry* e = t_front.find(m_id, m_generation.load(), certDer);
    if (!e)
        return sharedPublicKey(certDer, x509);
    if (!e->pkeyDecoded) {
        e->pkey = sharedPublicKey(certDer, *e->x509);
        e->pkeyDecoded = true;
    }
    return sharedPkey(e->pkey);
}

DecodedCertificateCache::Certificate DecodedCertificateCache::sharedCertificate(std::string_view der) {
    {
        const std::lock_guard lock(m_mutex);
        if (const Entry* entry = find(der))
            return {sharedX509(entry->x509), entry->derLength};
    }
    Certificate decoded = decodeCertificate(der);
    if (decoded.x509 && der.size() <= kMaxCertificateBytes) {
        const std::lock_guard lock(m_mutex);
        insert(der, decoded);
    }
    return decoded;
}

PkeyPtr DecodedCertificateCache::sharedPublicKey(std::string_view certDer, const X509& x509) {
    const std::lock_guard lock(m_mutex);
    Entry* entry = find(certDer);
    if (!entry)
        return decodePublicKey(x509);
    if (!entry->pkeyDecoded) {
        // Decoded from the cached certificate, so that the key always
        // belongs to the bytes of the entry.
        entry->pkey = decodePublicKey(*entry->x509);
        entry->pkeyDecoded = true;
    }
    return sharedPkey(entry->pkey);
}

size_t DecodedCertificateCache::size() const {
    const std::lock_guard lock(m_mutex);
    return m_entries.size();
}

void DecodedCertificateCache::clear() {
    const std::lock_guard lock(m_mutex);
    ++m_generation;
    m_entries.clear();
    m_recency.clear();
    m_bytes = 0;
}

DecodedCertificateCache::Entry* DecodedCertificateCache::find(std::string_view der) {
    const auto it = m_entries.find(der);
    if (it == m_entries.end())
        return nullptr;
    m_recency.splice(m_recency.begin(), m_recency, it->second.recency);
    return &it->second;
}

void DecodedCertificateCache::insert(std::string_view der, const Certificate& decoded) {
    // Another thread may have decoded the same bytes meanwhile.
    if (find(der))
        return;
    evictUntilFits(der.size());
    m_recency.emplace_front(der);
    Entry& entry = m_entries[m_recency.front()];
    entry.x509 = sharedX509(decoded.x509);
    entry.derLength = decoded.derLength;
    entry.recency = m_recency.begin();
    m_bytes += der.size();
}

void DecodedCertificateCache::evictUntilFits(size_t incomingBytes) {
    while (!m_recency.empty() && (m_entries.size() >= kMaxEntries || m_bytes + incomingBytes > kMaxBytes)) {
        const std::string& oldest = m_recency.back();
        m_bytes -= oldest.size();
        m_entries.erase(oldest);
        m_recency.pop_back();
    }
}
