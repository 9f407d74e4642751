#pragma once

#include "companion/crypto/OpensslPtr.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <list>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>

// Certificates and their public keys decoded once per process: the same
// signer signs document after document, and decoding its certificate cost
// more than verifying the signature. An entry is found only by the exact
// bytes it was decoded from. Threads share the decoded objects read-only
// (OpenSSL counts their references and guards its own lazy caches).
//
// Bounded: at most kMaxEntries certificates and kMaxBytes of DER, the least
// recently used going first; a certificate over kMaxCertificateBytes is
// decoded every time and not kept.
//
// In front of it, each thread keeps the last kThreadFrontEntries
// certificates it was given (with their keys), so that a thread verifying
// one signer's documents takes no lock and shares no written memory with
// the others; those may outlive their eviction from the shared entries.
class DecodedCertificateCache {
public:
    static constexpr size_t kMaxEntries = 256;
    static constexpr size_t kMaxBytes = 4 * 1024 * 1024;
    static constexpr size_t kMaxCertificateBytes = 64 * 1024;
    static constexpr size_t kThreadFrontEntries = 4;

    struct Certificate {
        X509Ptr x509;
        // How many bytes of the input the certificate took (later bytes are
        // not part of it).
        size_t derLength = 0;
    };

    DecodedCertificateCache();

    // The one the library uses.
    static DecodedCertificateCache& process();

    // The certificate at the start of der, with its own reference; x509 is
    // null when the bytes are not a certificate.
    Certificate certificate(std::string_view der);
    // The public key decoded from the SubjectPublicKeyInfo of the
    // certificate whose DER is exactly certDer, with its own reference; null
    // when it cannot be decoded.
    PkeyPtr publicKey(std::string_view certDer, const X509& x509);

    // The shared entries (the threads' fronts aside).
    size_t size() const;
    // Forgets every entry, the threads' fronts included.
    void clear();

private:
    struct Entry {
        X509Ptr x509;
        size_t derLength = 0;
        // Decoded on the first request.
        PkeyPtr pkey;
        bool pkeyDecoded = false;
        std::list<std::string>::iterator recency;
    };

    Certificate sharedCertificate(std::string_view der);
    PkeyPtr sharedPublicKey(std::string_view certDer, const X509& x509);
    Entry* find(std::string_view der);
    void insert(std::string_view der, const Certificate& decoded);
    void evictUntilFits(size_t incomingBytes);

    // Which cache and which of its generations (clear() starts one) a
    // thread's front entry belongs to.
    const uint64_t m_id;
    std::atomic<uint64_t> m_generation{0};
    mutable std::mutex m_mutex;
    // Most recently used first; the map's keys point at these strings.
    std::list<std::string> m_recency;
    std::unordered_map<std::string_view, Entry> m_entries;
    size_t m_bytes = 0;
};
