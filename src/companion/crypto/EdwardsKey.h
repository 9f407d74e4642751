#pragma once

#include "companion/crypto/EdwardsCurve.h"
#include "companion/crypto/PkeyRef.h"

// The material of an Ed25519 or Ed448 public key.
class EdwardsKey : public PkeyRef {
public:
    using PkeyRef::PkeyRef;
    EdwardsCurve curve() const { return EVP_PKEY_is_a(pkey(), "ED448") ? EdwardsCurve::Ed448 : EdwardsCurve::Ed25519; }
};
