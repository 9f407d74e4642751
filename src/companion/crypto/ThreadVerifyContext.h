#pragma once

#include <openssl/evp.h>

// What a verification context is set up for.
enum class VerifyOperation {
    Verify,             // EVP_PKEY_verify, no parameters (DSA, ECDSA)
    VerifyRecoverPkcs1, // EVP_PKEY_verify_recover with PKCS#1 v1.5 padding (RSA)
};

// A context set up for `operation` with `pkey`, of this thread's own: kept
// for the key the thread last used for that operation, and valid until the
// thread's next call for it. Null when OpenSSL cannot set one up.
//
// Setting a context up looks the key's methods up in OpenSSL's stores, under
// their locks; for a small document that costs a tenth as much as the RSA
// operation itself, and threads verifying one signer's documents would wait
// on each other for it. Only the key and the operation shape the context, so
// it is reused for every document that key verifies.
EVP_PKEY_CTX* threadVerifyContext(EVP_PKEY* pkey, VerifyOperation operation);
