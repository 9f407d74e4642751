#include "companion/crypto/_tvPublicKey.h"

#include "companion/text/DataBuffer.h"

#include <string>
#include <type_traits>

using Material = std::variant<std::monostate, RsaKey, DsaKey, EccKey, EdwardsKey>;
static_assert(std::is_same_v<std::variant_alternative_t<key_type::kRsa, Material>, RsaKey>);
static_assert(std::is_same_v<std::variant_alternative_t<key_type::kDsa, Material>, DsaKey>);
static_assert(std::is_same_v<std::variant_alternative_t<key_type::kEcc, Material>, EccKey>);
static_assert(std::is_same_v<std::variant_alternative_t<key_type::kEddsa, Material>, EdwardsKey>);

bool _tvPublicKey::setPkey(PkeyPtr pkey) {
    clear();
    if (!pkey)
        return false;
    if (EVP_PKEY_is_a(pkey.get(), "RSA") || EVP_PKEY_is_a(pkey.get(), "RSA-PSS"))
        m_material.emplace<RsaKey>(pkey.get());
    else if (EVP_PKEY_is_a(pkey.get(), "DSA"))
        m_material.emplace<DsaKey>(pkey.get());
    else if (EVP_PKEY_is_a(pkey.get(), "EC"))
        m_material.emplace<EccKey>(pkey.get());
    else if (EVP_PKEY_is_a(pkey.get(), "ED25519") || EVP_PKEY_is_a(pkey.get(), "ED448"))
        m_material.emplace<EdwardsKey>(pkey.get());
    return !isEmpty();
}

const PkeyRef* _tvPublicKey::ref() const {
    return std::visit(
        [](const auto& material) -> const PkeyRef* {
            if constexpr (std::is_base_of_v<PkeyRef, std::decay_t<decltype(material)>>)
                return &material;
            else
                return nullptr;
        },
        m_material);
}

int _tvPublicKey::bitLength() const {
    const PkeyRef* key = ref();
    return key ? key->bits() : 0;
}

bool _tvPublicKey::toSpkiDer(DataBuffer& out) const {
    out.clear();
    const PkeyRef* key = ref();
    const int len = key ? i2d_PUBKEY(key->pkey(), nullptr) : 0;
    if (len <= 0)
        return false;
    std::string der(static_cast<size_t>(len), '\0');
    auto* p = reinterpret_cast<unsigned char*>(der.data());
    if (i2d_PUBKEY(key->pkey(), &p) != len)
        return false;
    out.takeString(std::move(der));
    return true;
}
