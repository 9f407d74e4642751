#pragma once

#include "companion/crypto/OpensslPtr.h"

// The library context that offers a digest: the default one, or for digests
// that an OpenSSL build keeps only in its legacy provider (RIPEMD-160 before
// 3.0.7), a private context with the legacy provider loaded. Null when no
// provider has it.
OSSL_LIB_CTX* digestLibCtx(const char* evpName);

// The digest by its OpenSSL name, from whichever context offers it.
MdPtr fetchDigest(const char* evpName);
