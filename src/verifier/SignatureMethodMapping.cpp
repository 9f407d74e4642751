#include "verifier/SignatureMethodMapping.h"

#include "companion/crypto/HashIds.h"
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
};

struct KeyMarker {
    const char* marker;
    int keyType;
};

constexpr KeyMarker kKeyMarkers[] = {
    {"#dsa-", signature_method::kDsa}, {"#rsa-", signature_method::kRsa},   {"-rsa-", signature_method::kRsa},
    {"/rsa-", signature_method::kRsa}, {"#hmac-", signature_method::kHmac}, {"#ecdsa-", signature_method::kEcdsa},
};

constexpr std::string_view kPssWithParamsMarker = "#rsa-pss";

} // namespace

int signatureMethodToHashAlg(const StringBuffer& uri, LogBase&) {
    for (const HashMarker& m : kHashMarkers)
        if (uri.containsSubstring(m.dashed) || uri.containsSubstring(m.hashed))
            return m.hashAlg;
    // SHA-3 methods are refused rather than silently unverifiable.
    if (uri.containsSubstring("#sha3"))
        return signature_method::kRefusedHash;
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
