#include "references/ReferenceVerifier.h"

#include "companion/log/LogBase.h"
#include "references/DigestAttempt.h"
#include "references/ExternalRefDirs.h"
#include "verifier/ClsXmlDSig.h"
#include "verifier/VerificationLimits.h"

ReferenceVerifier::ReferenceVerifier(ClsXmlDSig& engine, const XString& externalRefDirs) : m_engine(engine) {
    splitExternalRefDirs(externalRefDirs, m_run.externalRefDirs);
}

ReferenceStageOutcome ReferenceVerifier::checkAll(int count, bool ignoreExternalRefs, LogBase& log) {
    log.LogDataLong("numExternalRefDirs", m_run.externalRefDirs.getSize());
    m_run.digests.emplace();
    ReferenceStageOutcome stage;
    for (int i = 0; i < count; ++i) {
        ReferenceCheck check;
        const bool matched = m_engine.verifyReferenceDigest(i, check, m_run, log);
        stage.references.push_back(outcome(i, matched, check, log));
        log.LogDataStr("signedReference", stage.references.back().summary());
        if (check.externalFileOversize && !stage.limit)
            stage.limit = LimitExceeded{std::string(VerificationLimits::kMaxExternalFileBytes),
                                        *check.externalFileOversize, m_engine.policy().limits.maxExternalFileBytes};
        if (matched) {
            for (FurtherAttempt attempt : check.matchedBy)
                stage.attempts.push_back({i, attempt});
            continue;
        }
        log.LogError("Failed to verify reference digest");
        log.LogDataLong("referenceIndex", i);
        stage.failed.push_back({i, check.literalReason});
        if (!(check.externalDataMissing && ignoreExternalRefs))
            ++stage.countedFailures;
        if (m_engine.work().spent()) {
            stage.workSpent = true;
            break;
        }
    }
    m_run.digests.reset();
    return stage;
}

bool ReferenceVerifier::checkOne(int index, LogBase& log) {
    ReferenceCheck check;
    return m_engine.verifyReferenceDigest(index, check, m_run, log);
}

bool ReferenceVerifier::hashedOctets(int index, HashedOctets& out, LogBase& log) {
    ReferenceCheck check;
    check.hashed = &out;
    m_engine.verifyReferenceDigest(index, check, m_run, log);
    return out.complete;
}
