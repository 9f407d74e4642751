#pragma once

#include "companion/pki/PkiHandles.h"

#include <openssl/cms.h>
#include <openssl/ts.h>
#include <openssl/x509_vfy.h>

#include <memory>

// Owning handles for the OpenSSL objects of CMS verification and RFC 3161
// timestamp requests.
using CmsContentInfoPtr = std::unique_ptr<CMS_ContentInfo, OpensslDeleter<CMS_ContentInfo_free>>;
using Asn1IntegerPtr = std::unique_ptr<ASN1_INTEGER, OpensslDeleter<ASN1_INTEGER_free>>;
using X509AlgorPtr = std::unique_ptr<X509_ALGOR, OpensslDeleter<X509_ALGOR_free>>;
using TsReqPtr = std::unique_ptr<TS_REQ, OpensslDeleter<TS_REQ_free>>;
using TsRespPtr = std::unique_ptr<TS_RESP, OpensslDeleter<TS_RESP_free>>;
using TsMsgImprintPtr = std::unique_ptr<TS_MSG_IMPRINT, OpensslDeleter<TS_MSG_IMPRINT_free>>;

// A stack that owns its certificates.
struct X509StackPopFree {
    void operator()(STACK_OF(X509) * p) const { sk_X509_pop_free(p, X509_free); }
};
using OwnedX509StackPtr = std::unique_ptr<STACK_OF(X509), X509StackPopFree>;
