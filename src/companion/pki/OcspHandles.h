#pragma once

#include "companion/crypto/OpensslPtr.h"

#include <openssl/ocsp.h>

#include <memory>

// Owning handles for the OpenSSL OCSP objects.
using OcspResponsePtr = std::unique_ptr<OCSP_RESPONSE, OpensslDeleter<OCSP_RESPONSE_free>>;
using OcspBasicRespPtr = std::unique_ptr<OCSP_BASICRESP, OpensslDeleter<OCSP_BASICRESP_free>>;
using OcspRequestPtr = std::unique_ptr<OCSP_REQUEST, OpensslDeleter<OCSP_REQUEST_free>>;
using OcspCertIdPtr = std::unique_ptr<OCSP_CERTID, OpensslDeleter<OCSP_CERTID_free>>;
