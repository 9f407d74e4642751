#include "companion/pki/CrlEvidence.h"

#include "companion/pki/Asn1TimeEpoch.h"
#include "companion/pki/CertificateSummary.h"
#include "companion/pki/PkiHandles.h"
#include "companion/pki/RevocationTiming.h"

#include <openssl/err.h>
#include <openssl/ocsp.h>
#include <openssl/x509v3.h>

namespace {

RevocationEvidence rejected(std::string reason) {
    RevocationEvidence evidence;
    evidence.reason = std::move(reason);
    return evidence;
}

void noteEntry(X509_REVOKED* entry, RevocationEvidence& evidence) {
    evidence.status = RevocationStatus::Revoked;
    evidence.revocationTime = asn1TimeEpoch(X509_REVOKED_get0_revocationDate(entry));
    using ReasonPtr = std::unique_ptr<ASN1_ENUMERATED, OpensslDeleter<ASN1_ENUMERATED_free>>;
    const ReasonPtr reason(
        static_cast<ASN1_ENUMERATED*>(X509_REVOKED_get_ext_d2i(entry, NID_crl_reason, nullptr, nullptr)));
    if (reason)
        evidence.revocationReason = OCSP_crl_reason_str(ASN1_ENUMERATED_get(reason.get()));
}

} // namespace

RevocationEvidence crlEvidence(X509_CRL* crl, const RevocationQuery& query) {
    if (X509_NAME_cmp(X509_CRL_get_issuer(crl), X509_get_subject_name(query.issuer)) != 0)
        return rejected("it was issued by \"" + certificateNameText(X509_CRL_get_issuer(crl)) +
                        "\", not by the certificate's issuer");
    EVP_PKEY* issuerKey = X509_get0_pubkey(query.issuer);
    const bool signedByIssuer = issuerKey && X509_CRL_verify(crl, issuerKey) == 1;
    ERR_clear_error();
    if (!signedByIssuer)
        return rejected("its signature does not verify with the issuer's key");
    RevocationEvidence evidence;
    evidence.status = RevocationStatus::Good;
    evidence.thisUpdate = asn1TimeEpoch(X509_CRL_get0_lastUpdate(crl));
    evidence.nextUpdate = asn1TimeEpoch(X509_CRL_get0_nextUpdate(crl));
    evidence.responder = certificateNameText(X509_CRL_get_issuer(crl));
    X509_REVOKED* entry = nullptr;
    // 1 is a revoked entry; 2 an entry that removeFromCRL lifted, which leaves the certificate good.
    if (X509_CRL_get0_by_cert(crl, &entry, query.cert) == 1 && entry)
        noteEntry(entry, evidence);
    ERR_clear_error();
    if (std::string late = applyRevocationTiming(evidence, query); !late.empty())
        return rejected(late);
    return evidence;
}
