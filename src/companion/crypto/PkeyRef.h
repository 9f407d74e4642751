#pragma once

#include "companion/crypto/OpensslPtr.h"

// One reference to an OpenSSL key, shared with whoever else holds it.
class PkeyRef {
public:
    explicit PkeyRef(EVP_PKEY* pkey) : m_pkey(pkey) { EVP_PKEY_up_ref(pkey); }
    EVP_PKEY* pkey() const { return m_pkey.get(); }
    int bits() const { return EVP_PKEY_get_bits(m_pkey.get()); }

private:
    PkeyPtr m_pkey;
};
