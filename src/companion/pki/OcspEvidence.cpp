#include "companion/pki/OcspEvidence.h"

#include "companion/pki/Asn1TimeEpoch.h"
#include "companion/pki/CertificateSummary.h"
#include "companion/pki/OcspHandles.h"
#include "companion/pki/PkiHandles.h"
#include "companion/pki/RevocationTiming.h"
#include "companion/pki/TrustAnchors.h"

#include <openssl/err.h>
#include <openssl/x509v3.h>

#include <vector>

namespace {

// What the single response for the certificate says.
struct SingleStatus {
    int status = -1;
    int reason = -1;
    ASN1_GENERALIZEDTIME* revocationTime = nullptr;
    ASN1_GENERALIZEDTIME* thisUpdate = nullptr;
    ASN1_GENERALIZEDTIME* nextUpdate = nullptr;
};

RevocationEvidence rejected(std::string reason) {
    RevocationEvidence evidence;
    evidence.reason = std::move(reason);
    return evidence;
}

// OpenSSL's first error in words, the cause rather than what it led to, with its detail ("certificate
// verify error: Verify error:...").
std::string firstOpensslError() {
    const char* data = nullptr;
    int flags = 0;
    const unsigned long code = ERR_peek_error_data(&data, &flags);
    const char* text = code ? ERR_reason_error_string(code) : nullptr;
    std::string error = text ? text : "unspecified error";
    if (data && *data && (flags & ERR_TXT_STRING))
        error += std::string(": ") + data;
    ERR_clear_error();
    return error;
}

// The single response whose CertID is the certificate's under the hash that CertID names.
bool findStatus(OCSP_BASICRESP* basic, const RevocationQuery& query, SingleStatus& found) {
    for (int i = 0; i < OCSP_resp_count(basic); ++i) {
        ASN1_OBJECT* hashOid = nullptr;
        // OpenSSL 3.0 declares the CertID it only reads as non-const.
        auto* responseId = const_cast<OCSP_CERTID*>(OCSP_SINGLERESP_get0_id(OCSP_resp_get0(basic, i)));
        OCSP_id_get0_info(nullptr, &hashOid, nullptr, nullptr, responseId);
        const EVP_MD* md = hashOid ? EVP_get_digestbyobj(hashOid) : nullptr;
        const OcspCertIdPtr id(md ? OCSP_cert_to_id(md, query.cert, query.issuer) : nullptr);
        if (id && OCSP_resp_find_status(basic, id.get(), &found.status, &found.reason, &found.revocationTime,
                                        &found.thisUpdate, &found.nextUpdate) == 1)
            return true;
    }
    ERR_clear_error();
    return false;
}

bool delegatedSigning(X509* cert) {
    return (X509_get_extension_flags(cert) & EXFLAG_XKUSAGE) != 0 &&
           (X509_get_extended_key_usage(cert) & XKU_OCSP_SIGN);
}

std::vector<X509*> responseCertificates(OCSP_BASICRESP* basic) {
    std::vector<X509*> certs;
    const STACK_OF(X509)* carried = OCSP_resp_get0_certs(basic);
    for (int i = 0; i < sk_X509_num(carried); ++i)
        certs.push_back(sk_X509_value(carried, i));
    return certs;
}

// The issuer as the only trusted certificate, at the time the response was produced.
X509StorePtr issuerOnlyStore(X509* issuer, std::time_t producedAt) {
    X509StorePtr store(X509_STORE_new());
    if (!store || X509_STORE_add_cert(store.get(), issuer) != 1)
        return nullptr;
    X509_VERIFY_PARAM* param = X509_STORE_get0_param(store.get());
    X509_VERIFY_PARAM_set_flags(param, X509_V_FLAG_PARTIAL_CHAIN);
    X509_VERIFY_PARAM_set_time(param, producedAt);
    return store;
}

// The signature must verify with the signer's key; then the signer must be the issuer itself or its
// delegated responder (OpenSSL's check, with the issuer as the only trusted certificate), or else an
// id-kp-OCSPSigning responder that chains to the anchors. Empty when both hold.
std::string responderRejection(OCSP_BASICRESP* basic, X509* signer, STACK_OF(X509) * issuerStack,
                               const RevocationQuery& query, std::time_t producedAt, const TrustAnchors& anchors) {
    const X509StorePtr issuerOnly = issuerOnlyStore(query.issuer, producedAt);
    if (!issuerOnly)
        return "out of memory";
    if (OCSP_basic_verify(basic, issuerStack, issuerOnly.get(), OCSP_NOVERIFY) != 1)
        return "its signature does not verify (" + firstOpensslError() + ")";
    if (OCSP_basic_verify(basic, issuerStack, issuerOnly.get(), 0) == 1)
        return {};
    const std::string openssl = firstOpensslError();
    if (delegatedSigning(signer) && anchors.chainOf(signer, responseCertificates(basic), producedAt).trusted)
        return {};
    return "its responder \"" + certificateNameText(X509_get_subject_name(signer)) +
           "\" is neither the issuer, nor a responder the issuer delegated to, nor an OCSP signer that chains "
           "to the trust anchors (" +
           openssl + ")";
}

RevocationStatus statusOf(int ocspStatus) {
    switch (ocspStatus) {
    case V_OCSP_CERTSTATUS_GOOD:
        return RevocationStatus::Good;
    case V_OCSP_CERTSTATUS_REVOKED:
        return RevocationStatus::Revoked;
    default:
        return RevocationStatus::Unknown;
    }
}

RevocationEvidence evidenceOf(const SingleStatus& single, OCSP_BASICRESP* basic, X509* signer) {
    RevocationEvidence evidence;
    evidence.status = statusOf(single.status);
    evidence.thisUpdate = asn1TimeEpoch(single.thisUpdate);
    evidence.nextUpdate = asn1TimeEpoch(single.nextUpdate);
    evidence.producedAt = asn1TimeEpoch(OCSP_resp_get0_produced_at(basic));
    if (evidence.status == RevocationStatus::Revoked) {
        evidence.revocationTime = asn1TimeEpoch(single.revocationTime);
        if (single.reason >= 0)
            evidence.revocationReason = OCSP_crl_reason_str(single.reason);
    }
    evidence.responder = certificateNameText(X509_get_subject_name(signer));
    return evidence;
}

OcspBasicRespPtr successfulBasic(std::span<const uint8_t> der, std::string& why) {
    const unsigned char* p = der.data();
    const OcspResponsePtr response(d2i_OCSP_RESPONSE(nullptr, &p, static_cast<long>(der.size())));
    if (!response) {
        why = "it is not an OCSP response";
        return nullptr;
    }
    const int status = OCSP_response_status(response.get());
    if (status != OCSP_RESPONSE_STATUS_SUCCESSFUL) {
        why = std::string("the responder answered ") + OCSP_response_status_str(status);
        return nullptr;
    }
    OcspBasicRespPtr basic(OCSP_response_get1_basic(response.get()));
    if (!basic)
        why = "it is not a basic OCSP response";
    return basic;
}

} // namespace

RevocationEvidence ocspEvidence(std::span<const uint8_t> der, const RevocationQuery& query,
                                const TrustAnchors& anchors) {
    std::string why;
    const OcspBasicRespPtr basic = successfulBasic(der, why);
    ERR_clear_error();
    if (!basic)
        return rejected(why);
    SingleStatus single;
    if (!findStatus(basic.get(), query, single))
        return rejected("it has no status for this certificate");
    const X509StackPtr issuerStack(sk_X509_new_null());
    X509* signer = nullptr;
    if (!issuerStack || sk_X509_push(issuerStack.get(), query.issuer) <= 0 ||
        OCSP_resp_get0_signer(basic.get(), &signer, issuerStack.get()) != 1) {
        ERR_clear_error();
        return rejected("its signer's certificate is neither in the response nor the issuer");
    }
    const std::optional<std::time_t> producedAt = asn1TimeEpoch(OCSP_resp_get0_produced_at(basic.get()));
    if (!producedAt)
        return rejected("it has no producedAt");
    if (std::string authority = responderRejection(basic.get(), signer, issuerStack.get(), query, *producedAt, anchors);
        !authority.empty())
        return rejected(authority);
    if (OCSP_check_validity(single.thisUpdate, nullptr, query.allowance, -1) != 1) {
        ERR_clear_error();
        return rejected("its thisUpdate is in the future");
    }
    RevocationEvidence evidence = evidenceOf(single, basic.get(), signer);
    if (std::string late = applyRevocationTiming(evidence, query); !late.empty())
        return rejected(late);
    return evidence;
}
