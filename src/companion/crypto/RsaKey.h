#pragma once

#include "companion/crypto/PkeyRef.h"

#include <cstddef>

// The RSA material of a public key (plain RSA or RSA-PSS).
class RsaKey : public PkeyRef {
public:
    using PkeyRef::PkeyRef;
    // The modulus length in bytes, which is the length of every signature.
    size_t modulusBytes() const { return static_cast<size_t>(EVP_PKEY_get_size(pkey())); }
};
