#include "companion/log/LogContextExitor.h"
#include "companion/xml/ClsXml.h"
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
        bool externalDataMissing = false;
        const bool matched = verifyReferenceDigest(i, externalDataMissing, dirs, log);
        m_referenceOutcomes.push_back(referenceOutcome(i, matched, lines, log));
        log.LogDataStr("signedReference", m_referenceOutcomes.back().summary());
        if (matched)
            continue;
        log.LogError("Failed to verify reference digest");
        log.LogDataLong("referenceIndex", i);
        // Only data that is missing is excused; data that mismatches is not.
        if (!(externalDataMissing && m_ignoreExternalRefs))
            ++failures;
    }
    if (failures == 0)
        return true;
    log.LogDataLong("refFailureCount", failures);
    logSuccessFailure(false);
    return false;
}

bool ClsXmlDSig::verifyTimeStampStage(const XmlSigPositions& locate, LogBase& log) {
    LogContextExitor ctx(log, "checkEncapsulatedTimeStamp");
    if (locate.m_signatureLoc >= m_sigXml.getSize())
        return true;
    StringBuffer sigText(m_sigXml.view().substr(locate.m_signatureLoc, locate.m_signatureLen));
    if (log.verbose())
        log.LogBracketed("signature", sigText.view());
    if (!sigText.containsSubstring("EncapsulatedTimeStamp"))
        return true;

    RefPtr<ClsXml> sigDom(ClsXml::createNewCls());
    if (!sigDom)
        return false;
    if (!sigDom->loadXml(sigText.view(), true, log)) {
        log.LogError("Failed to load signature XML.");
        return false;
    }
    if (!verifyEncapsulatedTimeStamp(sigText, *sigDom, log)) {
        log.LogError("Verification of encapsulated timestamp failed.");
        return false;
    }
    return true;
}
