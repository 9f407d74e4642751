#include "verifier/SignatureMethodMapping.h"

#include "companion/crypto/EddsaVerifier.h"
#include "companion/crypto/HashIds.h"
#include "companion/log/LogBase.h"
#include "companion/text/StringBuffer.h"

#include <string_view>

namespace {

struct HashMarker {
    const char* dashed;
    const char* hashed;
    int hashAlg;
};

// Tested in order: SHA-256 before SHA-1, so "ecdsa-sha256" is not read as SHA-1.
constexpr HashMarker kHashMarkers[] = {
    {"-sha256", "#sha256", hash_alg::kSha256},
    {"-sha1", "#sha1", hash_alg::kSha1},
    {"-sha384", "#sha384", hash_alg::kSha384},
    {"-sha512", "#sha512", hash_alg::kSha512},
    {"-ripemd160", "#ripemd160", hash_alg::kRipemd160},
    {"-ripemd128", "#ripemd128", hash_alg::kRipemd128},
    {"-md5", "#md5", hash_alg::kMd5},
    {"-md2", "#md2", hash_alg::kMd2},
    {"-sha224", "#sha224", hash_alg::kSha224},
    {"-sha3-256", "#sha3-256", hash_alg::kSha3_256},
    {"-sha3-384", "#sha3-384", hash_alg::kSha3_384},
    {"-sha3-512", "#sha3-512", hash_alg::kSha3_512},
    {"-sha3-224", "#sha3-224", hash_alg::kSha3_224},
};

constexpr std::string_view kEddsaMarker = "#eddsa-";

struct KeyMarker {
    const char* marker;
    int keyType;
};

constexpr KeyMarker kKeyMarkers[] = {
    {"#dsa-", signature_method::kDsa},
    {"#rsa-", signature_method::kRsa},
    {"-rsa-", signature_method::kRsa},
    {"/rsa-", signature_method::kRsa},
    {"#hmac-", signature_method::kHmac},
    {"#ecdsa-", signature_method::kEcdsa},
    {kEddsaMarker.data(), signature_method::kEddsa},
};

// The EdDSA forms of RFC 9231, by what follows the marker.
struct EddsaMarker {
    std::string_view name;
    EdwardsCurve curve;
    bool prehash;
    bool withContext;
};

constexpr EddsaMarker kEddsaForms[] = {
    {"ed25519", EdwardsCurve::Ed25519, false, false},   {"ed25519ph", EdwardsCurve::Ed25519, true, false},
    {"ed25519ctx", EdwardsCurve::Ed25519, false, true}, {"ed448", EdwardsCurve::Ed448, false, false},
    {"ed448ph", EdwardsCurve::Ed448, true, false},
};

constexpr std::string_view kPssWithParamsMarker = "#rsa-pss";

} // namespace

int signatureMethodToHashAlg(const StringBuffer& uri, LogBase&) {
    for (const HashMarker& m : kHashMarkers)
        if (uri.containsSubstring(m.dashed) || uri.containsSubstring(m.hashed))
            return m.hashAlg;
    return signature_method::kNoHash;
}

int signatureMethodToKeyType(const StringBuffer& uri, LogBase&) {
    for (const KeyMarker& m : kKeyMarkers)
        if (uri.containsSubstring(m.marker))
            return m.keyType;
    return signature_method::kUnknownKeyType;
}

bool isPssWithParams(const StringBuffer& uri) {
    return uri.endsWith(kPssWithParamsMarker);
}

int signatureMethodToRsaPadding(const StringBuffer& uri) {
    return uri.containsSubstring("MGF1") || isPssWithParams(uri) ? signature_method::kPss : signature_method::kPkcs1v15;
}

std::optional<EddsaForm> signatureMethodToEddsaForm(const StringBuffer& uri) {
    const std::string_view text = uri.view();
    const size_t at = text.rfind(kEddsaMarker);
    if (at == std::string_view::npos)
        return std::nullopt;
    const std::string_view name = text.substr(at + kEddsaMarker.size());
    for (const EddsaMarker& m : kEddsaForms)
        if (m.name == name)
            return EddsaForm{m.curve, m.prehash, m.withContext, {}};
    return std::nullopt;
}

bool isUnsupportedSignatureMethod(const StringBuffer& uri) {
    LogNull quiet;
    const int keyType = signatureMethodToKeyType(uri, quiet);
    return keyType < 0 || (keyType == signature_method::kEddsa && !signatureMethodToEddsaForm(uri));
}
