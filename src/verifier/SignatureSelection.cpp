#include "companion/log/LogContextExitor.h"
#include "companion/xml/ClsXml.h"
#include "verifier/ClsXmlDSig.h"

namespace {
constexpr const char* kSignedInfoTag = "*:SignedInfo";
constexpr const char* kReferenceTag = "*:Reference";
} // namespace

bool ClsXmlDSig::selectBySignatureId(StringBuffer& id, LogBase& log) {
    LogContextExitor ctx(log, "selectBySignatureId");
    log.LogDataSb("signatureId", id);
    StringBuffer value;
    for (int i = 0; i < m_signatures.getSize(); ++i) {
        auto* sig = static_cast<ClsXml*>(m_signatures.elementAt(i));
        if (sig && sig->getAttrValue("Id", value) && value.equals(id.view())) {
            m_selector = i;
            return true;
        }
    }
    log.LogError("Signature with Id not found.");
    return false;
}

bool ClsXmlDSig::selectedSignatureId(StringBuffer& out, LogBase&) {
    out.clear();
    ClsXml* sig = selectedSignature();
    return sig && sig->getAttrValue("Id", out);
}

ClsXml* ClsXmlDSig::getReference(int index, LogBase& log) {
    LogContextExitor ctx(log, "getReference");
    if (log.verbose()) {
        log.LogDataLong("m_selector", m_selector);
        log.LogDataLong("index", index);
    }
    ClsXml* sig = selectedSignature();
    if (!sig) {
        log.LogError("No object in dsig array at the current selector index.");
        log.LogDataLong("selectorIndex", m_selector);
        return nullptr;
    }
    RefPtr<ClsXml> signedInfo(sig->getChildWithTagUtf8(kSignedInfoTag));
    if (!signedInfo) {
        log.LogError("No SignedInfo child.");
        return nullptr;
    }
    ClsXml* reference = signedInfo->getNthChildWithTagUtf8(kReferenceTag, index, log);
    if (!reference) {
        log.LogError("No Reference element at the requested index.");
        log.LogDataLong("index", index);
    }
    return reference;
}

int ClsXmlDSig::numReferences(ClsXml& signature, LogBase& log) {
    RefPtr<ClsXml> signedInfo(signature.getChildWithTagUtf8(kSignedInfoTag));
    return signedInfo ? signedInfo->numChildrenHavingTagUtf8(kReferenceTag, log) : 0;
}

int ClsXmlDSig::get_NumReferences() {
    CritSecExitor lock(m_critSec);
    LogNull log;
    ClsXml* sig = selectedSignature();
    return sig ? numReferences(*sig, log) : 0;
}
