#include "companion/log/LogContextExitor.h"
#include "companion/xml/ClsXml.h"
#include "companion/xml/XmlSigLocate.h"
#include "verifier/ClsXmlDSig.h"

namespace {

// The first signature with the Id, or without one, the first whose
// references hold the digest value.
bool findByIdOrDigest(const XmlDocument* tree, std::string_view text, std::string_view sigId, std::string_view digest,
                      XmlSigPositions& out, LogBase& log) {
    XmlSigLocate locate;
    locate.setParsedDocument(tree);
    _tvXmlDtd dtd;
    const bool found = sigId.empty() ? locate.FindXmlSigByRefDigest(digest, text, dtd, log)
                                     : locate.FindXmlSigById(sigId, text, dtd, log);
    out = locate;
    return found;
}

// What the search by Id would find, read from the tree when the tree shows
// it is the selected element. The log reads as if the search had run: a
// search that finds its signature logs only its context.
bool readFromTree(const XmlDocument* tree, std::string_view text, std::string_view sigId, uint32_t selectedLoc,
                  XmlSigPositions& out, LogBase& log) {
    XmlSigLocate locate;
    locate.setParsedDocument(tree);
    if (!locate.FindXmlSigByIdInTree(sigId, selectedLoc, text))
        return false;
    LogContextExitor ctx(log, "FindXmlSigById");
    out = locate;
    return true;
}

} // namespace

void ClsXmlDSig::logAmbiguousLocation(const SignatureLocateMemo& memo, LogBase& log) {
    log.LogInfo("Another signature has the same Id or reference digest; the selected one is verified where it stands.");
    log.LogDataLong("selectedSignatureOffset", memo.positions.m_signatureLoc);
    log.LogDataLong("otherSignatureOffset", memo.otherLoc);
}

bool ClsXmlDSig::isLoadedText(std::string_view text) const {
    return text.data() == m_document.text.view().data() && text.size() == m_document.text.getSize();
}

const XmlDocument* ClsXmlDSig::loadedTree() const {
    return m_document.tree ? m_document.tree->parsedDocument() : nullptr;
}

bool ClsXmlDSig::locateSelectedSignature(std::string_view text, const StringBuffer& sigId,
                                         const StringBuffer& digestValue, XmlSigPositions& out, LogBase& log) {
    if (!locateInLoadedText(sigId, digestValue, out, log))
        return false;
    if (isLoadedText(text))
        return true;
    // An edited text has no tree to say where the selected element went; the
    // search is trusted there only when the loaded text showed it cannot land
    // on another signature.
    if (m_document.located.ambiguous) {
        log.LogError("Another signature has the same Id or reference digest; the selected signature cannot be told "
                     "apart in the transformed text.");
        return false;
    }
    return findByIdOrDigest(nullptr, text, sigId.view(), digestValue.view(), out, log);
}

// The selected element's own position decides; the search by Id or digest
// only confirms it. Both can land on another signature (a copy with the
// same Id, a forgery sharing the first digest), and verifying that one's
// SignedInfo would judge a signature that was not asked about.
bool ClsXmlDSig::locateInLoadedText(const StringBuffer& sigId, const StringBuffer& digestValue, XmlSigPositions& out,
                                    LogBase& log) {
    ClsXml* sig = selectedSignature();
    const uint32_t selectedLoc = sig ? sig->startTagBegin() : 0;
    const bool byId = !sigId.isEmpty();
    const std::string_view key = byId ? sigId.view() : digestValue.view();
    if (m_document.located.valid && m_document.located.selectedLoc == selectedLoc && m_document.located.byId == byId &&
        m_document.located.key == key) {
        out = m_document.located.positions;
        if (m_document.located.ambiguous)
            logAmbiguousLocation(m_document.located, log);
        return m_document.located.found;
    }
    XmlSigPositions searched;
    bool found = sig && (readFromTree(loadedTree(), m_document.text.view(), sigId.view(), selectedLoc, searched, log) ||
                         findByIdOrDigest(loadedTree(), m_document.text.view(), sigId.view(), digestValue.view(),
                                          searched, log));
    bool ambiguous = false;
    uint32_t otherLoc = 0;
    // The search's answer stands when it is the selected element; only
    // another one costs a second walk.
    if (found && searched.m_signatureLoc != selectedLoc) {
        XmlSigLocate own;
        own.setParsedDocument(loadedTree());
        _tvXmlDtd dtd;
        found = own.FindXmlSigAt(selectedLoc, m_document.text.view(), dtd, log);
        ambiguous = found;
        otherLoc = searched.m_signatureLoc;
        searched = own;
    }
    out = searched;
    m_document.located =
        SignatureLocateMemo{true, byId, found, ambiguous, selectedLoc, otherLoc, std::string(key), out};
    if (ambiguous)
        logAmbiguousLocation(m_document.located, log);
    return found;
}
