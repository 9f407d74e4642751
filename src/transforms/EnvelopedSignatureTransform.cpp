#include "companion/log/LogContextExitor.h"
#include "companion/xml/ClsXml.h"
#include "companion/xml/XmlSigLocate.h"
#include "verifier/ClsXmlDSig.h"
#include "verifier/DSigReference.h"

namespace {

// ZATCA invoices are reduced by their own invoice transform instead.
constexpr std::string_view kZatcaSignatureId = "signature";

bool cutJoinsLineEnd(std::string_view text, const ClsXmlDSig::EnvelopedRange& range) {
    const size_t after = static_cast<size_t>(range.start) + range.length;
    return range.start > 0 && text[range.start - 1] == '\r' && after < text.size() && text[after] == '\n';
}

} // namespace

bool ClsXmlDSig::transformEnvelopedSignature(StringBuffer& xml, DSigReference& ref, LogBase& log) {
    CanonShortcut noCanonicalizationFollows;
    envelope(xml, ref, false, m_profile.isCmaStp, noCanonicalizationFollows, log);
    return true;
}

void ClsXmlDSig::envelope(StringBuffer& xml, DSigReference& ref, bool canonicalizationFollows, bool stpDocumentOnly,
                          CanonShortcut& pending, LogBase& log) {
    LogContextExitor ctx(log, "transformEnvelopedSignature");
    EnvelopedRange range;
    if (!envelopedSignatureRange(xml, ref, range, log))
        return;
    // Left to the canonicalizer only when its offsets are the document's, the
    // cut is exactly one element, and cutting it from the text would not join
    // a CR before it and an LF after it into one line end.
    if (canonicalizationFollows && isLoadedText(xml.view()) && !stpDocumentOnly &&
        range.length == range.signatureLength && !cutJoinsLineEnd(xml.view(), range)) {
        pending.excludedStart = range.start;
        pending.excludedLength = range.length;
        return;
    }
    xml.removeChunk(range.start, range.length);
}

bool ClsXmlDSig::envelopedSignatureRange(const StringBuffer& xml, DSigReference& ref, EnvelopedRange& range,
                                         LogBase& log) {
    StringBuffer sigId;
    if (ClsXml* sig = selectedSignature())
        sig->getAttrValue("Id", sigId);
    if (m_profile.isZatca && sigId.equals(kZatcaSignatureId))
        return false;

    if (!sigId.isEmpty() && log.verbose())
        log.LogDataSb("removeSignatureWithId", sigId);
    if (sigId.isEmpty() && log.verbose())
        log.LogDataSb("removeSignatureHavingDigest", ref.m_digestValue);
    XmlSigPositions locate;
    if (!locateSelectedSignature(xml.view(), sigId, ref.m_digestValue, locate, log)) {
        if (!sigId.isEmpty()) {
            log.LogInfo("Unable to find the Signature by Id. (This is not an error)");
            log.LogDataSb("signatureId", sigId);
        } else {
            log.LogError("Unable to find Signature by digest value for enveloped-signature..");
        }
        return false;
    }
    range.start = locate.m_signatureLoc;
    range.signatureLength = locate.m_signatureLen;
    range.length = signatureAndFollowingLength(xml.view(), locate.m_signatureLoc, locate.m_signatureLen);
    return true;
}
