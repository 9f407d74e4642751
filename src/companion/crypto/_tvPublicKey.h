#pragma once

#include "companion/crypto/DsaKey.h"
#include "companion/crypto/EccKey.h"
#include "companion/crypto/EdwardsKey.h"
#include "companion/crypto/OpensslPtr.h"
#include "companion/crypto/RsaKey.h"

#include <variant>

class DataBuffer;

// The kinds of public key, numbered as signature methods number them.
namespace key_type {
inline constexpr int kNone = 0;
inline constexpr int kRsa = 1;
inline constexpr int kDsa = 2;
inline constexpr int kEcc = 3;
inline constexpr int kEddsa = 4;
} // namespace key_type

// A public key and the view of its material that its kind offers.
class _tvPublicKey {
public:
    // Holds the key; false (and empty) for a kind that the library does not
    // verify with.
    bool setPkey(PkeyPtr pkey);
    void clear() { m_material = std::monostate{}; }
    bool isEmpty() const { return std::holds_alternative<std::monostate>(m_material); }

    // Null when the key is of another kind.
    const RsaKey* rsaKey() const { return std::get_if<RsaKey>(&m_material); }
    const DsaKey* dsaKey() const { return std::get_if<DsaKey>(&m_material); }
    const EccKey* eccKey() const { return std::get_if<EccKey>(&m_material); }
    const EdwardsKey* edwardsKey() const { return std::get_if<EdwardsKey>(&m_material); }

    // key_type above.
    int keyType() const { return static_cast<int>(m_material.index()); }
    // The modulus, prime or curve order size in bits; 0 when empty.
    int bitLength() const;
    // Replaces out with the DER SubjectPublicKeyInfo.
    bool toSpkiDer(DataBuffer& out) const;

private:
    const PkeyRef* ref() const;

    // The alternatives are in key_type order, so that the index is the type.
    std::variant<std::monostate, RsaKey, DsaKey, EccKey, EdwardsKey> m_material;
};
