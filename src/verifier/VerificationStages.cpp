#include "companion/log/LogContextExitor.h"
#include "companion/xml/ClsXml.h"
#include "references/DigestAttempt.h"
#include "references/ExternalRefDirs.h"
#include "references/ReferenceDigestMemo.h"
#include "verifier/ClsXmlDSig.h"

bool ClsXmlDSig::verifyReferenceStage(LogBase& log) {
    log.LogDataX("externalRefDirs", m_externalRefDirs);
    ExtPtrArraySb dirs;
    splitExternalRefDirs(m_externalRefDirs, dirs);
    log.LogDataLong("numExternalRefDirs", dirs.getSize());

    ClsXml* sig = selectedSignature();
    const int count = sig ? numReferences(*sig, log) : 0;
    ReferenceDigestMemo digests;
    ReferenceDigestMemo::Scope run(m_runDigests, digests);
    int failures = 0;
    LineCounter lines;
    // Every reference is checked, so the log shows all that fail.
    for (int i = 0; i < count; ++i) {
        ReferenceCheck check;
        const bool matched = verifyReferenceDigest(i, check, dirs, log);
        m_report.references.push_back(referenceOutcome(i, matched, lines, log));
        log.LogDataStr("signedReference", m_report.references.back().summary());
        if (matched) {
            for (FurtherAttempt attempt : check.matchedBy)
                m_report.attempts.push_back({i, attempt});
            continue;
        }
        log.LogError("Failed to verify reference digest");
        log.LogDataLong("referenceIndex", i);
        m_report.failedReferences.push_back({i, check.literalReason});
        // Only data that is missing is excused; data that mismatches is not.
        if (!(check.externalDataMissing && m_ignoreExternalRefs))
            ++failures;
    }
    m_report.countedReferenceFailures = failures;
    if (failures == 0)
        return true;
    log.LogDataLong("refFailureCount", failures);
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
