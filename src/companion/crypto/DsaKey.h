#pragma once

#include "companion/crypto/PkeyRef.h"

#include <cstddef>

// The DSA material of a public key.
class DsaKey : public PkeyRef {
public:
    using PkeyRef::PkeyRef;
    // The length in bytes of the subgroup order q: the length of each of r
    // and s in a signature value; 0 when the key has no q.
    size_t subgroupBytes() const;
};
