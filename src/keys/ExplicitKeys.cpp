#include "companion/crypto/ClsPublicKey.h"
#include "companion/log/LogContextExitor.h"
#include "companion/text/TextCodec.h"
#include "verifier/ClsXmlDSig.h"

namespace {
// One explicit-key slot per signature index, for the first 200 signatures.
constexpr unsigned kMaxExplicitKeySlots = 200;
} // namespace

bool ClsXmlDSig::SetPublicKey(ClsPublicKey& key) {
    CritSecExitor lock(m_critSec);
    LogContextExitor ctx(*this, "SetPublicKey");
    m_log.clearLastJsonData();
    if (static_cast<unsigned>(m_selector) >= kMaxExplicitKeySlots) {
        m_log.LogError("Selector index is not sane.");
        m_log.LogDataLong("m_selector", m_selector);
        return false;
    }
    key.incRefCount();
    m_publicKeys.replaceRefCountedAt(m_selector, &key);
    return true;
}

void ClsXmlDSig::addCallerKey(ClsPublicKey& key) {
    CritSecExitor lock(m_critSec);
    key.incRefCount();
    m_callerKeys.appendRefCounted(&key);
}

bool ClsXmlDSig::SetHmacKey(XString& key, XString& encoding) {
    CritSecExitor lock(m_critSec);
    LogContextExitor ctx(*this, "SetHmacKey");
    m_log.clearLastJsonData();
    m_hmacKey.secureClear();
    key.setSecureX(true);
    TextCodec decoder;
    decoder.put_EncodingMode(encoding);
    return decoder.decodeBinary(key, m_hmacKey, false, m_log);
}
