#include "companion/crypto/DsaKey.h"

#include <openssl/core_names.h>

size_t DsaKey::subgroupBytes() const {
    BIGNUM* q = nullptr;
    if (EVP_PKEY_get_bn_param(pkey(), OSSL_PKEY_PARAM_FFC_Q, &q) != 1)
        return 0;
    const BnPtr owned(q);
    return static_cast<size_t>(BN_num_bytes(q));
}
