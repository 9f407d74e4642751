#include "companion/pki/OcspRequest.h"

#include "companion/pki/OcspHandles.h"
#include "companion/pki/PkiHandles.h"

#include <openssl/err.h>

std::vector<uint8_t> ocspRequestDer(X509* cert, X509* issuer) {
    const OcspRequestPtr request(OCSP_REQUEST_new());
    OcspCertIdPtr id(OCSP_cert_to_id(EVP_sha1(), cert, issuer));
    // OCSP_request_add0_id takes the CertID over only when it succeeds.
    if (!request || !id || !OCSP_request_add0_id(request.get(), id.get())) {
        ERR_clear_error();
        return {};
    }
    id.release();
    unsigned char* der = nullptr;
    const int length = i2d_OCSP_REQUEST(request.get(), &der);
    const OpensslBytes owned(der);
    if (length <= 0)
        return {};
    return {der, der + length};
}
