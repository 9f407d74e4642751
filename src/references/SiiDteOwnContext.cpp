#include "companion/canon/XmlCanon.h"
#include "companion/log/LogContextExitor.h"
#include "companion/xml/ClsXml.h"
#include "companion/xml/XmlDocument.h"
#include "companion/xml/XmlIdIndex.h"
#include "companion/xml/XmlSigPositions.h"
#include "references/DigestAttempt.h"
#include "references/ElementAsOwnDocument.h"
#include "verifier/ClsXmlDSig.h"
#include "verifier/DSigReference.h"

namespace {

constexpr std::string_view kDteName = "DTE";
constexpr std::string_view kXPointer = "#xpointer(";

// SII signers sign each DTE as a document of its own: the signed element
// (Documento, Exportaciones, Liquidacion) and the Signature are its
// children, and only the SII default namespace was in scope, not what the
// envelope around it declares.
bool dteAsOwnDocument(const XmlDocument& doc, uint32_t child, ElementAsOwnDocument& dte) {
    if (child == kNoNode)
        return false;
    const uint32_t parent = doc.parent(child);
    return parent != kNoNode && XmlDocument::localName(doc.name(parent)) == kDteName &&
           elementAsOwnDocument(doc, parent, dte);
}

} // namespace

const XmlDocument* ClsXmlDSig::loadedTreeOfText() const {
    const XmlDocument* tree = loadedTree();
    return tree && isLoadedText(tree->source()) ? tree : nullptr;
}

bool ClsXmlDSig::verifyInSiiDteOwnContext(int index, ReferenceCheck& check, ReferenceRun& run, LogBase& log) {
    const XmlDocument* tree = loadedTreeOfText();
    if (!m_profile.isSiiCl || !tree)
        return false;
    DSigReference ref;
    StringBuffer uri;
    if (!parsedReference(index, ref, uri, log))
        return false;
    if (!uri.beginsWith("#") || uri.beginsWith(kXPointer))
        return false;
    ElementAsOwnDocument dte;
    if (!dteAsOwnDocument(*tree, tree->idIndex().find(uri.view().substr(1)), dte))
        return false;

    LogContextExitor ctx(log, "siiDteOwnContext");
    log.LogInfo("Retry with the DTE as a document of its own, the context it was signed in...");
    DigestAttempt attempt = profileAttempt(FurtherAttempt::SiiDteOwnContext);
    attempt.ownDocument = dte.text;
    const bool matched = verifyReferenceDigest2(index, attempt, check, run, log);
    if (matched)
        log.LogInfo("The reference matched in the DTE's own context.");
    return matched;
}

bool ClsXmlDSig::verifySignatureValueInSiiDteOwnContext(const XmlSigPositions& locate, SignedInfoCheck& check,
                                                        bool& ended, LogBase& log) {
    const XmlDocument* tree = loadedTreeOfText();
    ElementAsOwnDocument dte;
    if (!m_profile.isSiiCl || !tree || !dteAsOwnDocument(*tree, tree->elementAt(locate.m_signatureLoc), dte))
        return false;

    LogContextExitor ctx(log, "siiDteOwnContext");
    log.LogInfo("Retry with SignedInfo canonicalized in the DTE's own context...");
    XmlCanon canon;
    canon.setWorkBudget(&m_work);
    StringBuffer method;
    if (!signedInfoCanonicalizer(canon, method, log))
        return false;
    StringBuffer canonical;
    if (!canon.xmlCanonicalize(StringBuffer(dte.text), nullptr, dte.fromSource(locate.m_signedInfoLoc), canonical, log))
        return false;
    if (canonical.equals(check.canonical.view())) {
        log.LogInfo("SignedInfo reads the same there.");
        return false;
    }
    if (log.verbose())
        log.LogBracketed("canonicalizedSignedInfo", canonical.view());
    check.canonical.takeSb(canonical);
    signedHash(check);
    if (!verifySignatureValue(check, ended, log))
        return false;
    log.LogInfo("The signature verified with SignedInfo in the DTE's own context.");
    return true;
}
