#include "companion/log/LogContextExitor.h"
#include "companion/xml/ClsXml.h"
#include "references/ReferenceVerifier.h"
#include "verifier/ClsXmlDSig.h"

bool ClsXmlDSig::verifyReferenceStage(LogBase& log) {
    log.LogDataX("externalRefDirs", m_externalRefDirs);
    ClsXml* sig = selectedSignature();
    const int count = sig ? numReferences(*sig, log) : 0;
    ReferenceVerifier verifier(*this, m_externalRefDirs);
    ReferenceStageOutcome stage = verifier.checkAll(count, m_ignoreExternalRefs, log);
    m_report.references = std::move(stage.references);
    m_report.failedReferences = std::move(stage.failed);
    m_report.attempts.insert(m_report.attempts.end(), stage.attempts.begin(), stage.attempts.end());
    m_report.countedReferenceFailures = stage.countedFailures;
    if (stage.limit && !m_report.limit)
        m_report.limit = std::move(stage.limit);
    if (stage.workSpent) {
        withinLimit(m_work.used(), m_work.allowed(),
                    "Work units spent on the references:", VerificationLimits::kMaxWorkUnits, log);
        m_report.stage = VerificationStage::Limits;
        logSuccessFailure(false);
        return false;
    }
    if (stage.countedFailures == 0)
        return true;
    log.LogDataLong("refFailureCount", stage.countedFailures);
    m_report.stage = VerificationStage::References;
    logSuccessFailure(false);
    return false;
}

bool ClsXmlDSig::verifyTimeStampStage(const XmlSigPositions& locate, LogBase& log) {
    LogContextExitor ctx(log, "checkEncapsulatedTimeStamp");
    if (locate.m_signatureLoc >= m_document.text.getSize())
        return true;
    StringBuffer sigText(m_document.text.view().substr(locate.m_signatureLoc, locate.m_signatureLen));
    if (log.verbose())
        log.LogBracketed("signature", sigText.view());
    if (!sigText.containsSubstring("EncapsulatedTimeStamp"))
        return true;

    RefPtr<ClsXml> sigDom(ClsXml::createNewCls());
    if (!sigDom)
        return false;
    if (!sigDom->loadXml(sigText.view(), true, log))
        return fail(VerificationStage::Timestamp, "Failed to load signature XML.", log);
    if (!verifyEncapsulatedTimeStamp(sigText, *sigDom, log))
        return fail(VerificationStage::Timestamp, "Verification of encapsulated timestamp failed.", log);
    return true;
}
