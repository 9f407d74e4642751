#include "companion/crypto/Hmac.h"

#include "companion/crypto/DigestFetch.h"
#include "companion/crypto/HashAlgorithm.h"
#include "companion/log/LogContextExitor.h"
#include "companion/text/DataBuffer.h"

#include <openssl/core_names.h>

#include <map>
#include <mutex>
#include <string>

namespace {

// OpenSSL reads a null key as "keep the previous key"; an empty key must
// still point somewhere.
const unsigned char* keyPointer(const void* key) {
    static const unsigned char kEmptyKey = 0;
    return key ? static_cast<const unsigned char*>(key) : &kEmptyKey;
}

// HMAC is fetched once per library context: a fetch by name takes the
// library's locks and looks the name up on every call.
EVP_MAC* hmacIn(OSSL_LIB_CTX* libCtx) {
    static std::mutex mutex;
    static std::map<OSSL_LIB_CTX*, MacPtr> fetched;
    const std::lock_guard lock(mutex);
    MacPtr& mac = fetched[libCtx];
    if (!mac)
        mac.reset(EVP_MAC_fetch(libCtx, "HMAC", nullptr));
    return mac.get();
}

bool computeMac(const HashAlgorithm& alg, const void* data, size_t len, const void* key, size_t keyLen,
                std::string& mac) {
    OSSL_LIB_CTX* libCtx = digestLibCtx(alg.evpName);
    if (!libCtx)
        return false;
    EVP_MAC* hmac = hmacIn(libCtx);
    const MacCtxPtr ctx(hmac ? EVP_MAC_CTX_new(hmac) : nullptr);
    if (!ctx)
        return false;
    const OSSL_PARAM params[] = {
        OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_DIGEST, const_cast<char*>(alg.evpName), 0),
        OSSL_PARAM_construct_end(),
    };
    mac.assign(alg.digestLen, '\0');
    size_t macLen = 0;
    auto* macBytes = reinterpret_cast<unsigned char*>(mac.data());
    return EVP_MAC_init(ctx.get(), keyPointer(key), keyLen, params) == 1 &&
           EVP_MAC_update(ctx.get(), static_cast<const unsigned char*>(data), len) == 1 &&
           EVP_MAC_final(ctx.get(), macBytes, &macLen, mac.size()) == 1 && macLen == mac.size();
}

} // namespace

bool Hmac::doHMAC(const void* data, size_t len, const void* key, size_t keyLen, int hashAlg, DataBuffer& out,
                  LogBase& log) {
    LogContextExitor ctx(log, "doHMAC");
    out.clear();
    const HashAlgorithm* alg = findHashAlgorithm(hashAlg);
    if (!alg || *alg->evpName == '\0') {
        log.LogError("HMAC is not supported with this hash algorithm.");
        log.LogDataLong("hashAlg", hashAlg);
        return false;
    }
    std::string mac;
    if (!computeMac(*alg, data, len, key, keyLen, mac)) {
        log.LogError("HMAC computation failed.");
        log.LogDataStr("hashAlg", alg->name);
        return false;
    }
    out.takeString(std::move(mac));
    return true;
}
