#include "api/TrustEvaluation.h"

#include "companion/pki/CrlParsing.h"
#include "companion/pki/TrustAnchors.h"
#include "companion/text/XmlDateTime.h"

#include <vector>

namespace xmldsig {

namespace {

// The time the chain is checked at, and where it came from.
std::time_t checkTime(const SignerIdentity& signer, std::optional<std::time_t> at, Trust& trust) {
    if (at) {
        trust.timeSource = "given time";
        return *at;
    }
    if (const std::optional<std::time_t> signed_ = parseXmlDateTime(signer.signingTime)) {
        trust.timeSource = signer.signingTimeSource;
        return *signed_;
    }
    trust.timeSource = "current time";
    return std::time(nullptr);
}

} // namespace

Trust evaluateTrust(const TrustAnchors& anchors, const SignerIdentity& signer, std::span<X509* const> pool,
                    std::optional<std::time_t> at, std::span<const std::vector<uint8_t>> carriedCrls) {
    Trust trust;
    if (!signer.certificate) {
        if (signer.source == KeySource::CallerKey) {
            trust.status = Trust::Status::Trusted;
            trust.reason = keySourceText(signer.source);
        } else {
            trust.status = Trust::Status::NotTrusted;
            trust.reason =
                std::string("no certificate to chain to a trust anchor (") + keySourceText(signer.source) + ")";
        }
        return trust;
    }
    const std::time_t when = checkTime(signer, at, trust);
    trust.time = formatXmlDateTime(when);
    std::vector<X509*> untrusted(pool.begin(), pool.end());
    for (const X509Ptr& cert : signer.keyInfoCertificates)
        untrusted.push_back(cert.get());
    std::vector<X509CrlPtr> crls;
    std::vector<X509_CRL*> crlPointers;
    for (const std::vector<uint8_t>& der : carriedCrls)
        for (X509CrlPtr& crl : parseCrls({reinterpret_cast<const char*>(der.data()), der.size()})) {
            crlPointers.push_back(crl.get());
            crls.push_back(std::move(crl));
        }
    const ChainOutcome outcome = anchors.check(signer.certificate.get(), untrusted, when, crlPointers);
    trust.status = outcome.trusted ? Trust::Status::Trusted : Trust::Status::NotTrusted;
    trust.anchorSubject = outcome.anchorSubject;
    trust.reason = outcome.reason;
    return trust;
}

} // namespace xmldsig
