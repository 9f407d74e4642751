#pragma once

#include "companion/crypto/OpensslPtr.h"

#include <string_view>

class LogBase;

// Public keys read from their binary and PEM encodings. Each returns null
// when the bytes hold no key it understands.
namespace public_key_decode {

// A DER SubjectPublicKeyInfo, or a DER PKCS#1 RSAPublicKey; the encoding
// must fill the bytes.
PkeyPtr fromKeyDer(std::string_view der);
// The subject public key of a DER X.509 certificate.
PkeyPtr fromCertificateDer(std::string_view der);
// The content of a key or certificate file: PEM ("PUBLIC KEY", "RSA PUBLIC
// KEY", "CERTIFICATE"; the first block that holds a key) or DER (either of
// the above). Logs what it could not use.
PkeyPtr fromFileBytes(std::string_view bytes, LogBase& log);

} // namespace public_key_decode
