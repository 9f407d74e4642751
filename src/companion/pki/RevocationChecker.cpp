#include "companion/pki/RevocationChecker.h"

#include "companion/net/HttpExchange.h"
#include "companion/pki/CrlEvidence.h"
#include "companion/pki/CrlParsing.h"
#include "companion/pki/OcspEvidence.h"
#include "companion/pki/OcspRequest.h"
#include "companion/pki/RevocationLocations.h"
#include "companion/pki/TrustAnchors.h"

#include <openssl/err.h>

namespace {

constexpr const char* kEmbeddedOcsp = "embedded OCSP response";
constexpr const char* kEmbeddedCrl = "embedded CRL";
constexpr const char* kCrlFile = "CRL file";
constexpr const char* kOcspRequestType = "application/ocsp-request";
constexpr long kHttpOk = 200;

std::string hexOf(const std::vector<uint8_t>& bytes) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string hex;
    for (const uint8_t b : bytes) {
        hex += kDigits[b >> 4];
        hex += kDigits[b & 0xf];
    }
    return hex;
}

X509CrlPtr crlOfDer(const std::vector<uint8_t>& der) {
    const unsigned char* p = der.data();
    X509CrlPtr crl(d2i_X509_CRL(nullptr, &p, static_cast<long>(der.size())));
    ERR_clear_error();
    return crl;
}

std::string numbered(const char* source, size_t index) {
    return std::string(source) + " " + std::to_string(index + 1);
}

std::string joined(const std::vector<std::string>& parts) {
    std::string text;
    for (const std::string& part : parts)
        text += (text.empty() ? "" : "; ") + part;
    return text;
}

} // namespace

// One check in progress: the query, why sources were rejected, what was fetched, and the answer once found.
struct RevocationChecker::Attempt {
    RevocationQuery query;
    const TrustAnchors& anchors;
    std::vector<std::string> rejections;
    std::vector<RevocationFetch> fetches;
    RevocationEvidence answer;

    // Takes the evidence when it counts; otherwise notes why `label` was rejected.
    bool take(RevocationEvidence evidence, const std::string& source, const std::string& label,
              const std::string& url = {}) {
        if (evidence.status == RevocationStatus::Unavailable) {
            rejections.push_back(label + ": " + evidence.reason);
            return false;
        }
        evidence.source = source;
        evidence.url = url;
        answer = std::move(evidence);
        return true;
    }
    // A CRL of another issuer is passed over without a word: CRL files and XAdES CRLValues hold the CRLs
    // of every CA of the chain.
    bool takeCrl(X509_CRL* crl, const std::string& source, const std::string& label, const std::string& url = {}) {
        if (!crl || X509_NAME_cmp(X509_CRL_get_issuer(crl), X509_get_subject_name(query.issuer)) != 0)
            return false;
        return take(crlEvidence(crl, query), source, label, url);
    }
    bool fromEmbedded(const RevocationSources& sources) {
        for (size_t i = 0; i < sources.ocspResponses.size(); ++i) {
            if (take(ocspEvidence(sources.ocspResponses[i], query, anchors), kEmbeddedOcsp, numbered(kEmbeddedOcsp, i)))
                return true;
        }
        for (size_t i = 0; i < sources.crls.size(); ++i) {
            const X509CrlPtr crl = crlOfDer(sources.crls[i]);
            if (!crl)
                rejections.push_back(numbered(kEmbeddedCrl, i) + ": it is not a DER CRL");
            else if (takeCrl(crl.get(), kEmbeddedCrl, numbered(kEmbeddedCrl, i)))
                return true;
        }
        for (const X509CrlPtr& crl : anchors.crls()) {
            if (takeCrl(crl.get(), kCrlFile, kCrlFile))
                return true;
        }
        return false;
    }
    RevocationEvidence finish(bool online) {
        if (answer.status == RevocationStatus::Unavailable)
            answer.reason = !rejections.empty() ? joined(rejections)
                            : online ? "no embedded OCSP response or CRL, no CRL file from the issuer, and the "
                                       "certificate names no OCSP responder or CRL distribution point"
                                     : "no embedded OCSP response or CRL, no CRL file from the issuer, and "
                                       "online checks are off";
        answer.fetches = std::move(fetches);
        return std::move(answer);
    }
};

RevocationChecker::RevocationChecker(RevocationOptions options)
    : m_options(options), m_cache(options.cacheEntries, options.cacheBytes) {
}

RevocationEvidence RevocationChecker::check(X509* cert, X509* issuer, std::time_t at, const RevocationSources& sources,
                                            const TrustAnchors& anchors) const {
    Attempt attempt{{cert, issuer, at, m_options.allowanceSeconds}, anchors, {}, {}, {}};
    if (!cert || !issuer) {
        attempt.rejections.emplace_back("no certificate or no issuer to check");
        return attempt.finish(sources.online);
    }
    if (attempt.fromEmbedded(sources) || !sources.online)
        return attempt.finish(sources.online);
    for (const std::string& url : ocspResponderUrls(cert)) {
        if (fromOcspResponder(url, attempt))
            return attempt.finish(true);
    }
    for (const std::string& url : crlDistributionUrls(cert)) {
        if (fromDistributionPoint(url, attempt))
            return attempt.finish(true);
    }
    return attempt.finish(true);
}

bool RevocationChecker::fromOcspResponder(const std::string& url, Attempt& attempt) const {
    const std::string label = "OCSP " + url;
    const std::vector<uint8_t> request = ocspRequestDer(attempt.query.cert, attempt.query.issuer);
    if (request.empty()) {
        attempt.rejections.push_back(label + ": no OCSP request could be made for the certificate");
        return false;
    }
    const std::string cacheKey = label + " " + hexOf(request);
    const RevocationCache::Bytes bytes = fetch(url, &request, cacheKey, attempt);
    if (!bytes || !attempt.take(ocspEvidence(*bytes, attempt.query, attempt.anchors), label, label, url))
        return false;
    keep(cacheKey, bytes, attempt);
    return true;
}

bool RevocationChecker::fromDistributionPoint(const std::string& url, Attempt& attempt) const {
    const std::string label = "CRL " + url;
    const RevocationCache::Bytes bytes = fetch(url, nullptr, label, attempt);
    if (!bytes)
        return false;
    const std::string_view text(reinterpret_cast<const char*>(bytes->data()), bytes->size());
    const size_t rejectedBefore = attempt.rejections.size();
    for (const X509CrlPtr& crl : parseCrls(text)) {
        if (attempt.takeCrl(crl.get(), label, label, url)) {
            keep(label, bytes, attempt);
            return true;
        }
    }
    if (attempt.rejections.size() == rejectedBefore)
        attempt.rejections.push_back(label + ": it holds no CRL of the certificate's issuer");
    return false;
}

RevocationCache::Bytes RevocationChecker::fetch(const std::string& url, const std::vector<uint8_t>* ocspRequest,
                                                const std::string& cacheKey, Attempt& attempt) const {
    if (RevocationCache::Bytes cached = m_cache.find(cacheKey, std::time(nullptr))) {
        attempt.fetches.push_back({url, cached->size(), true, {}});
        return cached;
    }
    HttpSettings settings;
    settings.connectTimeoutSeconds = m_options.connectTimeoutSeconds;
    settings.totalTimeoutSeconds = m_options.totalTimeoutSeconds;
    settings.maxBodyBytes = ocspRequest ? m_options.maxOcspResponseBytes : m_options.maxCrlBytes;
    DataBuffer body;
    if (ocspRequest)
        body.append(ocspRequest->data(), ocspRequest->size());
    HttpResult result;
    RevocationFetch fetched{url, 0, false, {}};
    if (!httpExchange({url, ocspRequest ? kOcspRequestType : nullptr, ocspRequest ? &body : nullptr}, settings, result))
        fetched.error = result.error;
    else if (result.status != kHttpOk)
        fetched.error = "HTTP status " + std::to_string(result.status);
    fetched.bytes = result.body.getSize();
    attempt.fetches.push_back(fetched);
    if (!fetched.error.empty()) {
        attempt.rejections.push_back(std::string(ocspRequest ? "OCSP " : "CRL ") + url + ": " + fetched.error);
        return nullptr;
    }
    return std::make_shared<const std::vector<uint8_t>>(result.body.getData(),
                                                        result.body.getData() + result.body.getSize());
}

// Fresh answers that counted are kept until their nextUpdate, or a few minutes without one.
void RevocationChecker::keep(const std::string& cacheKey, const RevocationCache::Bytes& bytes,
                             const Attempt& attempt) const {
    if (attempt.fetches.empty() || attempt.fetches.back().fromCache)
        return;
    const std::time_t now = std::time(nullptr);
    const std::optional<std::time_t>& nextUpdate = attempt.answer.nextUpdate;
    m_cache.store(cacheKey, bytes,
                  nextUpdate && *nextUpdate > now ? *nextUpdate : now + m_options.keepWithoutNextUpdateSeconds, now);
}
