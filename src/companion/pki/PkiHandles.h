#pragma once

#include "companion/crypto/OpensslPtr.h"

#include <openssl/asn1.h>

#include <memory>

// Owning handles for the OpenSSL objects that only the certificate layer
// uses; the common ones (X509Ptr, BioPtr, ...) come from OpensslPtr.h.
using Asn1ObjectPtr = std::unique_ptr<ASN1_OBJECT, OpensslDeleter<ASN1_OBJECT_free>>;
using Asn1TypePtr = std::unique_ptr<ASN1_TYPE, OpensslDeleter<ASN1_TYPE_free>>;
using Asn1StringPtr = std::unique_ptr<ASN1_STRING, OpensslDeleter<ASN1_STRING_free>>;
using Asn1TimePtr = std::unique_ptr<ASN1_TIME, OpensslDeleter<ASN1_TIME_free>>;
using X509NamePtr = std::unique_ptr<X509_NAME, OpensslDeleter<X509_NAME_free>>;

// A stack that borrows its certificates: freeing it leaves them alone.
struct X509StackFree {
    void operator()(STACK_OF(X509) * p) const { sk_X509_free(p); }
};
using X509StackPtr = std::unique_ptr<STACK_OF(X509), X509StackFree>;

struct OpensslBytesFree {
    void operator()(unsigned char* p) const { OPENSSL_free(p); }
};
// Bytes that OpenSSL allocated for the caller (i2d output, UTF-8 conversions).
using OpensslBytes = std::unique_ptr<unsigned char, OpensslBytesFree>;
