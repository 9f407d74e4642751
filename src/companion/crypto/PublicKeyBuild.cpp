#include "companion/crypto/PublicKeyBuild.h"

#include <openssl/core_names.h>

#include <initializer_list>
#include <utility>
#include <vector>

namespace public_key_build {
namespace {

using NamedInteger = std::pair<const char*, std::string_view>;

PkeyPtr fromParams(const char* keyType, const OSSL_PARAM* params) {
    const PkeyCtxPtr ctx(EVP_PKEY_CTX_new_from_name(nullptr, keyType, nullptr));
    EVP_PKEY* pkey = nullptr;
    if (!ctx || EVP_PKEY_fromdata_init(ctx.get()) != 1 ||
        EVP_PKEY_fromdata(ctx.get(), &pkey, EVP_PKEY_PUBLIC_KEY, const_cast<OSSL_PARAM*>(params)) != 1)
        return nullptr;
    return PkeyPtr(pkey);
}

// The builder reads each BIGNUM only when it makes the parameters, so the
// numbers live until then.
PkeyPtr fromIntegers(const char* keyType, std::initializer_list<NamedInteger> integers) {
    const ParamBldPtr builder(OSSL_PARAM_BLD_new());
    if (!builder)
        return nullptr;
    std::vector<BnPtr> numbers;
    for (const auto& [name, bytes] : integers) {
        BnPtr bn(
            BN_bin2bn(reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<int>(bytes.size()), nullptr));
        if (bytes.empty() || !bn || OSSL_PARAM_BLD_push_BN(builder.get(), name, bn.get()) != 1)
            return nullptr;
        numbers.push_back(std::move(bn));
    }
    const ParamPtr params(OSSL_PARAM_BLD_to_param(builder.get()));
    return params ? fromParams(keyType, params.get()) : nullptr;
}

} // namespace

PkeyPtr rsaFromComponents(std::string_view modulus, std::string_view exponent) {
    return fromIntegers("RSA", {{OSSL_PKEY_PARAM_RSA_N, modulus}, {OSSL_PKEY_PARAM_RSA_E, exponent}});
}

PkeyPtr dsaFromComponents(std::string_view p, std::string_view q, std::string_view g, std::string_view y) {
    return fromIntegers("DSA", {{OSSL_PKEY_PARAM_FFC_P, p},
                                {OSSL_PKEY_PARAM_FFC_Q, q},
                                {OSSL_PKEY_PARAM_FFC_G, g},
                                {OSSL_PKEY_PARAM_PUB_KEY, y}});
}

PkeyPtr ecFromPoint(const std::string& curveName, std::string_view point) {
    const OSSL_PARAM params[] = {
        OSSL_PARAM_construct_utf8_string(OSSL_PKEY_PARAM_GROUP_NAME, const_cast<char*>(curveName.c_str()), 0),
        OSSL_PARAM_construct_octet_string(OSSL_PKEY_PARAM_PUB_KEY, const_cast<char*>(point.data()), point.size()),
        OSSL_PARAM_construct_end(),
    };
    return point.empty() ? nullptr : fromParams("EC", params);
}

} // namespace public_key_build
