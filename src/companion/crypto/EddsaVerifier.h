#pragma once

#include "companion/crypto/EdwardsCurve.h"

#include <string>
#include <string_view>

class EdwardsKey;
class LogBase;

// How an EdDSA signature was made (RFC 8032): the curve, over the message or
// its prehash, and with the context string that the Ed25519ctx, Ed25519ph and
// Ed448 forms sign with.
struct EddsaForm {
    EdwardsCurve curve = EdwardsCurve::Ed25519;
    bool prehash = false;
    // Ed25519ctx: the dom2 prefix even without a prehash.
    bool withContext = false;
    std::string context;
};

namespace eddsa_verifier {

// dom2 and dom4 give the context's length in one byte.
inline constexpr size_t kMaxContextLength = 255;

// Sets `valid` to whether the signature verifies the message under the key.
// False (logged) when it cannot be checked: the key is of another curve or
// the context is longer than 255 bytes.
bool verify(const EdwardsKey& key, const EddsaForm& form, std::string_view message, std::string_view signature,
            bool& valid, LogBase& log);

} // namespace eddsa_verifier
