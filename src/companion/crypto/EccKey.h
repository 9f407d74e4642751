#pragma once

#include "companion/crypto/PkeyRef.h"

#include <cstddef>
#include <string>

// The elliptic-curve material of a public key.
class EccKey : public PkeyRef {
public:
    using PkeyRef::PkeyRef;
    // The length in bytes of the curve's group order: the length of each of
    // r and s in a signature value.
    size_t orderBytes() const { return static_cast<size_t>((bits() + 7) / 8); }
    // OpenSSL's name of the curve ("prime256v1"), empty if unnamed.
    std::string curveName() const;
};
