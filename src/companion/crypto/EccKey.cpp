#include "companion/crypto/EccKey.h"

#include <openssl/core_names.h>

namespace {
constexpr size_t kMaxCurveNameLen = 80;
}

std::string EccKey::curveName() const {
    char name[kMaxCurveNameLen] = {};
    size_t len = 0;
    if (EVP_PKEY_get_utf8_string_param(pkey(), OSSL_PKEY_PARAM_GROUP_NAME, name, sizeof(name), &len) != 1)
        return {};
    return std::string(name, len);
}
