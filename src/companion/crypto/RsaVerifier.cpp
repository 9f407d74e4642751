#include "companion/crypto/RsaVerifier.h"

#include "companion/crypto/Digest.h"
#include "companion/crypto/DigestFetch.h"
#include "companion/crypto/HashAlgorithm.h"
#include "companion/crypto/HashIds.h"
#include "companion/crypto/RsaKey.h"
#include "companion/crypto/ThreadVerifyContext.h"
#include "companion/log/LogContextExitor.h"
#include "companion/text/DataBuffer.h"

#include <openssl/err.h>
#include <openssl/rsa.h>

#include <algorithm>
#include <string>
#include <string_view>

namespace {

enum class Outcome { Valid, Invalid, KeyMismatch, Failed };

constexpr size_t kMaxOidTextLen = 128;

// The signature as a big-endian integer of exactly the modulus length:
// leading zero bytes are not significant, and some signers drop or add one.
// False when the value is longer than the modulus.
bool normalizeSignature(const DataBuffer& sig, bool littleEndian, size_t modulusLen, std::string& out) {
    std::string bytes(sig.view());
    if (littleEndian)
        std::reverse(bytes.begin(), bytes.end());
    const size_t firstNonZero = std::min(bytes.find_first_not_of('\0'), bytes.size());
    const size_t significant = bytes.size() - firstNonZero;
    if (significant > modulusLen)
        return false;
    out.assign(modulusLen - significant, '\0');
    out.append(bytes, firstNonZero);
    return true;
}

std::string derOf(const X509_SIG* digestInfo) {
    const int len = i2d_X509_SIG(digestInfo, nullptr);
    if (len <= 0)
        return {};
    std::string der(static_cast<size_t>(len), '\0');
    auto* p = reinterpret_cast<unsigned char*>(der.data());
    i2d_X509_SIG(digestInfo, &p);
    return der;
}

int digestInfoHashAlg(const X509_SIG* digestInfo, bool& paramsOk) {
    const X509_ALGOR* algorithm = nullptr;
    const ASN1_OCTET_STRING* digest = nullptr;
    X509_SIG_get0(digestInfo, &algorithm, &digest);
    const ASN1_OBJECT* oid = nullptr;
    int paramType = 0;
    const void* params = nullptr;
    X509_ALGOR_get0(&oid, &paramType, &params, algorithm);
    // RFC 8017 lets the parameters be NULL or absent; anything else is not a
    // hash algorithm identifier.
    paramsOk = paramType == V_ASN1_NULL || paramType == V_ASN1_UNDEF;
    char oidText[kMaxOidTextLen] = {};
    OBJ_obj2txt(oidText, sizeof(oidText), oid, 1);
    return Digest::oidToHashAlg(oidText);
}

// The DER DigestInfo of a hash up to the hash itself, with NULL parameters
// (RFC 8017, 9.2, note 1), for the hashes signers use; empty for others.
std::string_view digestInfoPrefix(int hashAlg) {
    using namespace std::string_view_literals;
    switch (hashAlg) {
    case hash_alg::kSha1:
        return "\x30\x21\x30\x09\x06\x05\x2b\x0e\x03\x02\x1a\x05\x00\x04\x14"sv;
    case hash_alg::kSha224:
        return "\x30\x2d\x30\x0d\x06\x09\x60\x86\x48\x01\x65\x03\x04\x02\x04\x05\x00\x04\x1c"sv;
    case hash_alg::kSha256:
        return "\x30\x31\x30\x0d\x06\x09\x60\x86\x48\x01\x65\x03\x04\x02\x01\x05\x00\x04\x20"sv;
    case hash_alg::kSha384:
        return "\x30\x41\x30\x0d\x06\x09\x60\x86\x48\x01\x65\x03\x04\x02\x02\x05\x00\x04\x30"sv;
    case hash_alg::kSha512:
        return "\x30\x51\x30\x0d\x06\x09\x60\x86\x48\x01\x65\x03\x04\x02\x03\x05\x00\x04\x40"sv;
    default:
        return {};
    }
}

// Whether block is the usual encoding: the prefix above, then the hash. The
// prefix ends with the hash's length, which must be this hash's.
bool isUsualDigestInfoOf(std::string_view block, int hashAlg, std::string_view hash) {
    const std::string_view prefix = digestInfoPrefix(hashAlg);
    return !prefix.empty() && static_cast<unsigned char>(prefix.back()) == hash.size() &&
           block.size() == prefix.size() + hash.size() && block.starts_with(prefix) && block.ends_with(hash);
}

// Whether block is exactly the DER DigestInfo of hash under hashAlg. The DER
// is re-encoded and compared, so that no slack in the encoding is accepted;
// the usual encoding is recognised without decoding it.
bool isDigestInfoOf(const std::string& block, int hashAlg, const DataBuffer& hash, LogBase& log) {
    if (isUsualDigestInfoOf(block, hashAlg, hash.view()))
        return true;
    auto* p = reinterpret_cast<const unsigned char*>(block.data());
    const X509SigPtr digestInfo(d2i_X509_SIG(nullptr, &p, static_cast<long>(block.size())));
    if (!digestInfo || derOf(digestInfo.get()) != block) {
        log.LogInfo("The signed block is not a DigestInfo.");
        return false;
    }
    bool paramsOk = false;
    const int signedHashAlg = digestInfoHashAlg(digestInfo.get(), paramsOk);
    if (signedHashAlg != hashAlg || !paramsOk) {
        log.LogInfo("The signed DigestInfo names another hash algorithm.");
        log.LogDataStr("signedHashAlg", Digest::hashName(signedHashAlg));
        return false;
    }
    const ASN1_OCTET_STRING* digest = nullptr;
    X509_SIG_get0(digestInfo.get(), nullptr, &digest);
    return std::string_view(reinterpret_cast<const char*>(ASN1_STRING_get0_data(digest)),
                            static_cast<size_t>(ASN1_STRING_length(digest))) == hash.view();
}

Outcome verifyPkcs1(const RsaKey& key, const std::string& sig, const DataBuffer& hash, int hashAlg, bool withDigestInfo,
                    LogBase& log) {
    EVP_PKEY_CTX* ctx = threadVerifyContext(key.pkey(), VerifyOperation::VerifyRecoverPkcs1);
    if (!ctx) {
        log.LogError("Failed to set up PKCS#1 v1.5 verification.");
        return Outcome::Failed;
    }
    std::string block(sig.size(), '\0');
    size_t blockLen = block.size();
    const auto* sigBytes = reinterpret_cast<const unsigned char*>(sig.data());
    if (EVP_PKEY_verify_recover(ctx, reinterpret_cast<unsigned char*>(block.data()), &blockLen, sigBytes, sig.size()) !=
        1) {
        ERR_clear_error();
        return Outcome::KeyMismatch;
    }
    block.resize(blockLen);
    const bool matches = withDigestInfo ? isDigestInfoOf(block, hashAlg, hash, log) : block == hash.view();
    return matches ? Outcome::Valid : Outcome::Invalid;
}

bool setPssParams(EVP_PKEY_CTX* ctx, const EVP_MD* md, const EVP_MD* mgf1Md, int saltLength) {
    const int saltLen = saltLength == rsa_padding::kAnySaltLength ? RSA_PSS_SALTLEN_AUTO : saltLength;
    return EVP_PKEY_CTX_set_signature_md(ctx, md) == 1 && EVP_PKEY_CTX_set_rsa_mgf1_md(ctx, mgf1Md) == 1 &&
           EVP_PKEY_CTX_set_rsa_pss_saltlen(ctx, saltLen) == 1;
}

// OpenSSL reports a well-formed PSS block whose hash differs as "bad
// signature", and a block that does not decode (the wrong key) otherwise.
bool errorsSayBadSignature() {
    bool badSignature = false;
    for (unsigned long e = ERR_get_error(); e != 0; e = ERR_get_error())
        badSignature |= ERR_GET_LIB(e) == ERR_LIB_RSA && ERR_GET_REASON(e) == RSA_R_BAD_SIGNATURE;
    return badSignature;
}

Outcome verifyPss(const RsaKey& key, const std::string& sig, const DataBuffer& hash, const HashAlgorithm& alg,
                  int mgf1HashAlg, int saltLength, LogBase& log) {
    const HashAlgorithm* mgf1Alg = findHashAlgorithm(mgf1HashAlg);
    const MdPtr md = fetchDigest(alg.evpName);
    const MdPtr mgf1Md = mgf1Alg ? fetchDigest(mgf1Alg->evpName) : nullptr;
    if (!md || !mgf1Md) {
        log.LogError("PSS is not supported with this hash algorithm.");
        log.LogDataLong("mgf1HashAlg", mgf1HashAlg);
        return Outcome::Failed;
    }
    const PkeyCtxPtr ctx(EVP_PKEY_CTX_new_from_pkey(nullptr, key.pkey(), nullptr));
    if (!ctx || EVP_PKEY_verify_init(ctx.get()) != 1 ||
        EVP_PKEY_CTX_set_rsa_padding(ctx.get(), RSA_PKCS1_PSS_PADDING) != 1 ||
        !setPssParams(ctx.get(), md.get(), mgf1Md.get(), saltLength)) {
        log.LogError("Failed to set up PSS verification.");
        return Outcome::Failed;
    }
    ERR_clear_error();
    if (EVP_PKEY_verify(ctx.get(), reinterpret_cast<const unsigned char*>(sig.data()), sig.size(), hash.getData(),
                        hash.getSize()) == 1)
        return Outcome::Valid;
    return errorsSayBadSignature() ? Outcome::Invalid : Outcome::KeyMismatch;
}

Outcome verify(const DataBuffer& signature, const DataBuffer& hash, const HashAlgorithm& alg, int padding,
               int mgf1HashAlg, int saltLength, const RsaKey& key, bool littleEndianSig, bool withDigestInfo,
               LogBase& log) {
    if (hash.getSize() != alg.digestLen) {
        log.LogError("The hash length does not match the hash algorithm.");
        log.LogDataLong("hashLen", hash.getSize());
        return Outcome::Failed;
    }
    std::string sig;
    if (!normalizeSignature(signature, littleEndianSig, key.modulusBytes(), sig))
        return Outcome::KeyMismatch;
    if (padding == rsa_padding::kPkcs1v15)
        return verifyPkcs1(key, sig, hash, alg.id, withDigestInfo, log);
    if (padding == rsa_padding::kPss)
        return verifyPss(key, sig, hash, alg, mgf1HashAlg, saltLength, log);
    log.LogError("Unsupported RSA padding.");
    log.LogDataLong("padding", padding);
    return Outcome::Failed;
}

} // namespace

bool RsaVerifier::verifyHashExt(const DataBuffer& signature, const DataBuffer& hash, int hashAlg, int padding,
                                int mgf1HashAlg, bool& valid, const RsaKey& key, bool littleEndianSig,
                                bool withDigestInfo, bool& keyMismatch, LogBase& log, int saltLength) {
    LogContextExitor ctx(log, "verifyHashExt");
    valid = false;
    keyMismatch = false;
    const HashAlgorithm* alg = findHashAlgorithm(hashAlg);
    if (!alg) {
        log.LogError("Unsupported hash algorithm.");
        log.LogDataLong("hashAlg", hashAlg);
        return false;
    }
    switch (
        verify(signature, hash, *alg, padding, mgf1HashAlg, saltLength, key, littleEndianSig, withDigestInfo, log)) {
    case Outcome::Valid:
        valid = true;
        return true;
    case Outcome::Invalid:
        return true;
    case Outcome::KeyMismatch:
        log.LogInfo("The signature was not made with this key.");
        keyMismatch = true;
        return false;
    case Outcome::Failed:
        break;
    }
    return false;
}
