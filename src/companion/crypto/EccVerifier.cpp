#include "companion/crypto/EccVerifier.h"

#include "companion/crypto/DsaStyleSignature.h"
#include "companion/crypto/EccKey.h"
#include "companion/log/LogContextExitor.h"

bool EccVerifier::eccVerifyHash(const EccKey& key, const DataBuffer& sig, int format, const DataBuffer& hash,
                                bool& valid, LogBase* log) {
    LogNull nullLog;
    LogBase& out = log ? *log : nullLog;
    LogContextExitor ctx(out, "eccVerifyHash");
    valid = false;
    const size_t halfLen = key.orderBytes();
    if (halfLen == 0) {
        out.LogError("The EC key has no group order.");
        return false;
    }
    valid = DsaStyleSignature::verifyAny(key.pkey(), DsaStyleSignature::candidateDerForms(sig, halfLen, format), hash);
    return true;
}
