#include "companion/crypto/DsaVerifier.h"

#include "companion/crypto/DsaKey.h"
#include "companion/crypto/DsaStyleSignature.h"
#include "companion/log/LogContextExitor.h"

bool DsaVerifier::dsaVerifyHash(const DsaKey& key, const DataBuffer& sig, int format, const DataBuffer& hash,
                                bool& valid, LogBase* log) {
    LogNull nullLog;
    LogBase& out = log ? *log : nullLog;
    LogContextExitor ctx(out, "dsaVerifyHash");
    valid = false;
    const size_t halfLen = key.subgroupBytes();
    if (halfLen == 0) {
        out.LogError("The DSA key has no subgroup order.");
        return false;
    }
    valid = DsaStyleSignature::verifyAny(key.pkey(), DsaStyleSignature::candidateDerForms(sig, halfLen, format), hash);
    return true;
}
