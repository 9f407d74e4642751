#include "companion/base/RunAlongside.h"
#include "companion/log/FirstErrorLog.h"
#include "companion/log/LogContextExitor.h"
#include "companion/xml/ClsXml.h"
#include "verifier/ClsXmlDSig.h"

namespace {

// Below this, a second thread costs more than it saves.
constexpr size_t kDetectAlongsideFrom = 1u << 20;

} // namespace

bool ClsXmlDSig::LoadSignature(XString& xml) {
    CritSecExitor lock(m_critSec);
    LogContextExitor ctx(*this, "LoadSignature");
    xml.checkFixUtf8Windows1252(m_log);
    m_log.clearLastJsonData();
    const bool ok = loadSignature(xml, m_log);
    logSuccessFailure(ok);
    return ok;
}

bool ClsXmlDSig::LoadSignatureSb(ClsStringBuilder& sb) {
    CritSecExitor lock(m_critSec);
    LogContextExitor ctx(*this, "LoadSignatureSb");
    m_log.clearLastJsonData();
    XString xml;
    xml.setFromSbUtf8(sb.m_str);
    const bool ok = loadSignature(xml, m_log);
    logSuccessFailure(ok);
    return ok;
}

bool ClsXmlDSig::LoadSignatureBd(ClsBinData& bd) {
    CritSecExitor lock(m_critSec);
    LogContextExitor ctx(*this, "LoadSignatureBd");
    m_log.clearLastJsonData();
    DataBuffer bytes(bd.m_data);
    const bool ok = loadSignatureBd(bytes, m_log);
    logSuccessFailure(ok);
    return ok;
}

void ClsXmlDSig::resetLoadedDocument() {
    m_selector = 0;
    m_document.located = SignatureLocateMemo{};
    m_document.references.signature = nullptr;
    m_document.references.references.removeAllObjects();
    // Nothing an earlier document computed may speak for this one.
    m_docDigest.clear();
    m_siiDteXml.clear();
    m_siiDteOffset = 0;
    m_refFailReason = 0;
    m_report = VerificationReport{};
    m_timestampTime.clear();
    releaseDocument();
    m_document.signatures.removeAllObjects();
}

bool ClsXmlDSig::loadSignature(XString& xml, LogBase& log) {
    resetLoadedDocument();
    readPolicy();
    FirstErrorLog errors(log);
    checkSetZatca(errors);
    checkSetMyInvois(errors);
    m_document.text.setString(xml.view());
    return noteFailure(parseLoadedText(errors), errors);
}

bool ClsXmlDSig::loadSignatureBd(DataBuffer& bytes, LogBase& log) {
    resetLoadedDocument();
    readPolicy();
    FirstErrorLog errors(log);
    // Unlike the string loads, the profile options are not evaluated here:
    // they keep the values of the last load or verification.
    if (!bytes.convertXmlToUtf8(errors))
        return noteFailure(false, errors);
    m_document.text.takeFromDb(bytes);
    return noteFailure(parseLoadedText(errors), errors);
}

bool ClsXmlDSig::noteFailure(bool ok, const FirstErrorLog& errors) {
    m_lastFailure = ok ? std::string() : errors.firstErrorLine();
    return ok;
}

// Profile detection and parsing only read the text, so a long text is
// searched for the markers on a second thread while its tree is built. The
// parser's error is held back until the profile is logged, keeping the log's
// order.
bool ClsXmlDSig::parseLoadedText(LogBase& log) {
    // Shared before the threads start: the parser then reads the same bytes
    // without changing the buffer.
    const SharedText text = m_document.text.share();
    uint64_t markers = 0;
    bool parsed = false;
    LogBase parseLog;
    m_document.tree.reset(ClsXml::createNewCls());
    runAlongside(
        text.view().size() >= kDetectAlongsideFrom, [&] { markers = findProfileMarkers(text); },
        [&] { parsed = m_document.tree && m_document.tree->loadXml(m_document.text, false, parseLog); });
    detectSpecial(markers, log);
    if (!parsed) {
        if (parseLog.hasErrors())
            log.LogError(parseLog.firstError());
        return false;
    }
    if (!m_document.tree->findSignatures(m_document.signatures, log))
        return false;
    // Too many signatures fail the load: none is listed to be verified.
    if (policyIsValid(log) && VerificationLimits::within(
                                  static_cast<uint64_t>(m_document.signatures.getSize()), m_policy.limits.maxSignatures,
                                  "Signatures in the document:", VerificationLimits::kMaxSignatures, log))
        return true;
    m_document.signatures.removeAllObjects();
    return false;
}
