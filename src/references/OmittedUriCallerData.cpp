#include "companion/log/LogContextExitor.h"
#include "references/DigestAttempt.h"
#include "references/RefFailReason.h"
#include "verifier/ClsXmlDSig.h"
#include "verifier/DSigReference.h"

// A Reference without URI names data the application supplies (XML-DSig
// 4.4.3.1). The literal reading takes the whole document; after its mismatch
// the caller's data for the index is digested with the reference's
// transforms, as external data is. Without such data nothing is retried.
bool ClsXmlDSig::verifyWithCallerData(int index, ReferenceCheck& check, ReferenceRun& run, LogBase& log) {
    DSigReference ref;
    StringBuffer uri;
    if (!parsedReference(index, ref, uri, log) || !ref.m_uriOmitted || !getExtRef(index, false, log))
        return false;

    LogContextExitor ctx(log, "callerDataWithoutUri");
    log.LogInfo("Retry with the caller's data for the reference without URI...");
    DigestAttempt attempt;
    attempt.kind = FurtherAttempt::CallerDataWithoutUri;
    attempt.transformsOnExternalData = !ref.m_transformsXml.isEmpty();
    check.matchedBy.clear();
    if (verifyExternalReference(index, uri, ref, attempt, check, run, log)) {
        check.matchedBy.push_back(attempt.kind);
        return true;
    }
    // The literal attempt's mismatch stays the reason.
    m_refFailReason = ref_fail_reason::kMismatch;
    return false;
}
