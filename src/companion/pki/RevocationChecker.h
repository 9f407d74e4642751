#pragma once

#include "companion/pki/RevocationCache.h"
#include "companion/pki/RevocationEvidence.h"

#include <cstddef>
#include <ctime>
#include <string>
#include <vector>

class TrustAnchors;

struct RevocationOptions {
    long connectTimeoutSeconds = 5;
    long totalTimeoutSeconds = 10;
    size_t maxOcspResponseBytes = size_t{1} << 20;
    size_t maxCrlBytes = size_t{10} << 20;
    // How far a thisUpdate may lie after the time checked and still be current then.
    std::time_t allowanceSeconds = 5 * 60;
    // How long online data without a nextUpdate is kept.
    std::time_t keepWithoutNextUpdateSeconds = 5 * 60;
    size_t cacheEntries = 256;
    size_t cacheBytes = size_t{32} << 20;
};

// The revocation status of one certificate at a time, from the first source that answers: the embedded
// OCSP responses, the embedded CRLs, the trust anchors' CRLs, then (when the sources allow it) the
// certificate's OCSP responders and its CRL distribution points over HTTP. One object may serve any number
// of threads; it owns the cache of what it fetched.
class RevocationChecker {
public:
    explicit RevocationChecker(RevocationOptions options = {});

    // `issuer` is the certificate that issued `cert` (the next link of its chain); `at` is seconds since the
    // epoch, UTC.
    RevocationEvidence check(X509* cert, X509* issuer, std::time_t at, const RevocationSources& sources,
                             const TrustAnchors& anchors) const;

private:
    struct Attempt;
    bool fromOcspResponder(const std::string& url, Attempt& attempt) const;
    bool fromDistributionPoint(const std::string& url, Attempt& attempt) const;
    RevocationCache::Bytes fetch(const std::string& url, const std::vector<uint8_t>* ocspRequest,
                                 const std::string& cacheKey, Attempt& attempt) const;
    void keep(const std::string& cacheKey, const RevocationCache::Bytes& bytes, const Attempt& attempt) const;

    RevocationOptions m_options;
    mutable RevocationCache m_cache;
};
