#include "companion/crypto/EddsaVerifier.h"

#include "companion/crypto/DigestFetch.h"
#include "companion/crypto/EdwardsKey.h"
#include "companion/log/LogBase.h"

#include <openssl/err.h>

namespace {

// SHAKE256 output lengths of Ed448: the prehash, and the hash of R, A and M.
constexpr size_t kEd448PrehashLength = 64;
constexpr size_t kEd448HashLength = 114;
constexpr std::string_view kDom2Prefix = "SigEd25519 no Ed25519 collisions";
constexpr std::string_view kDom4Prefix = "SigEd448";

// SHA-512 for Ed25519, SHAKE256 of `length` bytes for Ed448.
std::string curveHash(EdwardsCurve curve, std::string_view data, size_t length) {
    const bool ed448 = curve == EdwardsCurve::Ed448;
    MdPtr md = fetchDigest(ed448 ? "SHAKE256" : "SHA512");
    MdCtxPtr ctx(EVP_MD_CTX_new());
    std::string out(ed448 ? length : static_cast<size_t>(EVP_MAX_MD_SIZE), '\0');
    unsigned int written = 0;
    auto* bytes = reinterpret_cast<unsigned char*>(out.data());
    if (!md || !ctx || EVP_DigestInit_ex(ctx.get(), md.get(), nullptr) != 1 ||
        EVP_DigestUpdate(ctx.get(), data.data(), data.size()) != 1)
        return {};
    const bool finished = ed448 ? EVP_DigestFinalXOF(ctx.get(), bytes, out.size()) == 1
                                : EVP_DigestFinal_ex(ctx.get(), bytes, &written) == 1;
    if (!finished)
        return {};
    if (!ed448)
        out.resize(written);
    return out;
}

// What OpenSSL 3.0 verifies itself: Ed25519 and Ed448 without prehash or
// context.
bool pureForm(const EddsaForm& form) {
    return !form.prehash && !form.withContext && form.context.empty();
}

bool verifyPure(const EdwardsKey& key, std::string_view message, std::string_view signature, bool& valid) {
    MdCtxPtr ctx(EVP_MD_CTX_new());
    if (!ctx || EVP_DigestVerifyInit(ctx.get(), nullptr, nullptr, nullptr, key.pkey()) != 1)
        return false;
    ERR_set_mark();
    valid = EVP_DigestVerify(ctx.get(), reinterpret_cast<const unsigned char*>(signature.data()), signature.size(),
                             reinterpret_cast<const unsigned char*>(message.data()), message.size()) == 1;
    ERR_pop_to_mark();
    return true;
}

// RFC 8032 5.1.7 and 5.2.7 with the dom2/dom4 prefix of the form.
bool verifyWithPrefix(const EdwardsKey& key, const EddsaForm& form, std::string_view message,
                      std::string_view signature, bool& valid) {
    const size_t length = edwards_curve::encodedLength(form.curve);
    std::string publicKey(length, '\0');
    size_t publicLength = publicKey.size();
    if (EVP_PKEY_get_raw_public_key(key.pkey(), reinterpret_cast<unsigned char*>(publicKey.data()), &publicLength) !=
            1 ||
        publicLength != length)
        return false;
    valid = false;
    if (signature.size() != 2 * length)
        return true;
    const std::string prehashed = form.prehash ? curveHash(form.curve, message, kEd448PrehashLength) : std::string();
    if (form.prehash && prehashed.empty())
        return false;
    std::string input(form.curve == EdwardsCurve::Ed448 ? kDom4Prefix : kDom2Prefix);
    input += static_cast<char>(form.prehash ? 1 : 0);
    input += static_cast<char>(form.context.size());
    input += form.context;
    input += signature.substr(0, length);
    input += publicKey;
    input += form.prehash ? std::string_view(prehashed) : message;
    const std::string k = curveHash(form.curve, input, kEd448HashLength);
    if (k.empty())
        return false;
    valid = edwards_curve::groupEquationHolds(form.curve, signature.substr(0, length), publicKey,
                                              signature.substr(length), k);
    return true;
}

} // namespace

namespace eddsa_verifier {

bool verify(const EdwardsKey& key, const EddsaForm& form, std::string_view message, std::string_view signature,
            bool& valid, LogBase& log) {
    valid = false;
    if (key.curve() != form.curve) {
        log.LogError("The EdDSA key is not of the signature method's curve.");
        return false;
    }
    if (form.context.size() > eddsa_verifier::kMaxContextLength) {
        log.LogError("An EdDSA context string is at most 255 bytes.");
        return false;
    }
    const bool ok = pureForm(form) ? verifyPure(key, message, signature, valid)
                                   : verifyWithPrefix(key, form, message, signature, valid);
    if (!ok)
        log.LogError("The EdDSA signature could not be checked.");
    return ok;
}

} // namespace eddsa_verifier
