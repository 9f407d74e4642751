#include "companion/log/LogContextExitor.h"
#include "companion/xml/ClsXml.h"
#include "verifier/ClsXmlDSig.h"
#include "verifier/DSigReference.h"

namespace {
constexpr const char* kSignedInfoTag = "*:SignedInfo";
constexpr const char* kReferenceTag = "*:Reference";
} // namespace

bool ClsXmlDSig::selectBySignatureId(StringBuffer& id, LogBase& log) {
    LogContextExitor ctx(log, "selectBySignatureId");
    log.LogDataSb("signatureId", id);
    StringBuffer value;
    for (int i = 0; i < m_document.signatures.getSize(); ++i) {
        auto* sig = static_cast<ClsXml*>(m_document.signatures.elementAt(i));
        if (sig && sig->getAttrValue("Id", value) && value.equals(id.view())) {
            m_selector = i;
            return true;
        }
    }
    log.LogError("Signature with Id not found.");
    return false;
}

bool ClsXmlDSig::selectedSignatureId(StringBuffer& out) {
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
    if (!selectedSignature()) {
        log.LogError("No object in dsig array at the current selector index.");
        log.LogDataLong("selectorIndex", m_selector);
        return nullptr;
    }
    const SignatureReferences& list = selectedReferences();
    if (!list.hasSignedInfo) {
        log.LogError("No SignedInfo child.");
        return nullptr;
    }
    auto* reference = static_cast<ClsXml*>(list.references.elementAt(index));
    if (!reference) {
        log.LogError("No Reference element at the requested index.");
        log.LogDataLong("index", index);
        return nullptr;
    }
    reference->incRefCount();
    return reference;
}

const SignatureReferences& ClsXmlDSig::selectedReferences() {
    ClsXml* sig = selectedSignature();
    if (m_document.references.signature == sig)
        return m_document.references;
    m_document.references.signature = sig;
    m_document.references.references.removeAllObjects();
    RefPtr<ClsXml> signedInfo(sig ? sig->getChildWithTagUtf8(kSignedInfoTag) : nullptr);
    m_document.references.hasSignedInfo = static_cast<bool>(signedInfo);
    if (signedInfo)
        signedInfo->childrenWithTag(kReferenceTag, m_document.references.references);
    return m_document.references;
}

bool ClsXmlDSig::parsedReference(int index, DSigReference& ref, StringBuffer& uri, LogBase& log) {
    RefPtr<ClsXml> element(getReference(index, log));
    if (!element)
        return false;
    ref.parseReference(*element, log);
    uri.setString(ref.m_uri.view());
    uri.trim2();
    return true;
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
