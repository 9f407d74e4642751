#pragma once

#include <openssl/types.h>

#include <cstdint>
#include <vector>

// A DER OCSP request for one certificate, its CertID hashed with SHA-1 as RFC 5019 responders expect, with
// no nonce so that the answer may be cached; empty when it cannot be made.
std::vector<uint8_t> ocspRequestDer(X509* cert, X509* issuer);
