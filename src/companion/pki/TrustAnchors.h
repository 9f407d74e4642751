#pragma once

#include "companion/crypto/OpensslPtr.h"

#include <ctime>
#include <span>
#include <string>
#include <vector>

struct ChainOutcome {
    bool trusted = false;
    std::string reason; // when not trusted: OpenSSL's reason text, or our key-usage text
    std::string
        anchorSubject; // when trusted: the subject of the anchor the chain ended at, as CertificateSummary writes it
    // The chain OpenSSL built, the certificate first and the anchor last when trusted; when not, as far as
    // it got (often the certificate alone).
    std::vector<X509Ptr> chain;
    // OpenSSL's verification error (X509_V_OK when trusted, or when only our key-usage check refused).
    int error = 0;

    // Not trusted because a certificate was expired or not yet valid at the time asked.
    bool outsideValidity() const;
};

// Trust anchors and CRLs, loaded once and then only read: one object may be
// shared by any number of threads checking chains at the same time.
class TrustAnchors {
public:
    TrustAnchors();

    // The certificates of a file (PEM with one or many certificates, a bundle, or one DER certificate),
    // or of every regular file in a directory (non-certificate files in a directory are skipped, but a
    // directory without any certificate is an error). False with `error` ("PATH: no certificate could be read").
    bool addAnchors(const std::string& path, std::string& error);
    // CRLs of a file (PEM, possibly several, or DER). False with `error` ("PATH: no CRL could be read").
    bool addCrls(const std::string& path, std::string& error);
    bool empty() const { return m_anchorCount == 0; } // no anchor

    // Whether `signer` chains to an anchor at time `at` (seconds since the epoch, UTC), with `untrusted`
    // as the pool of intermediates: OpenSSL's chain verification (a chain may end at any anchor, so an
    // intermediate given as an anchor works; the signer's revocation is checked when any CRL was added),
    // then the signer's keyUsage, which when present must allow digitalSignature or nonRepudiation.
    // A CRL the document carries counts too when a certificate of the chain's issuer signed it: it
    // needs no CRL for the other links, and one revoking a link by `at` makes the chain untrusted.
    ChainOutcome check(X509* signer, std::span<X509* const> untrusted, std::time_t at,
                       std::span<X509_CRL* const> carriedCrls = {}) const;
    // The chain alone, for a caller that checks each link's revocation itself: no CRL check and no key usage.
    ChainOutcome chainOf(X509* cert, std::span<X509* const> untrusted, std::time_t at) const;
    // The certificate's keyUsage, when present, allows digitalSignature or nonRepudiation.
    static bool allowsSigning(X509* cert);

    // The CRLs added, in the order read.
    std::span<const X509CrlPtr> crls() const { return m_crls; }

private:
    ChainOutcome build(X509* cert, std::span<X509* const> untrusted, std::time_t at, unsigned long flags) const;

    X509StorePtr m_store;
    size_t m_anchorCount = 0;
    std::vector<X509CrlPtr> m_crls;
};
