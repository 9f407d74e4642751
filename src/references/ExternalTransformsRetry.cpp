#include "companion/log/LogContextExitor.h"
#include "companion/xml/ClsXml.h"
#include "references/DigestAttempt.h"
#include "references/RefFailReason.h"
#include "verifier/AlgorithmUris.h"
#include "verifier/ClsXmlDSig.h"
#include "verifier/DSigReference.h"

namespace {

using namespace ref_fail_reason;

bool isExternal(const StringBuffer& uri) {
    return !uri.isEmpty() && !uri.beginsWith("#");
}

} // namespace

// The W3C reading where the literal one mismatched: the transforms of an
// external reference apply to its data, which the literal attempt hashes as
// it is. Same-document references never come here, so the run's memo of
// their outcomes is not consulted.
bool ClsXmlDSig::verifyWithExternalTransforms(int index, ReferenceCheck& check, ReferenceRun& run, LogBase& log) {
    DSigReference ref;
    StringBuffer uri;
    if (!parsedReference(index, ref, uri, log))
        return false;
    if (!isExternal(uri) || ref.m_transformsXml.isEmpty())
        return false;

    LogContextExitor ctx(log, "externalTransforms");
    log.LogInfo("Retry with the reference's transforms applied to the external data...");
    // The loaded document's signer accommodations say nothing about how data
    // from elsewhere was canonicalized.
    DigestAttempt attempt;
    attempt.kind = FurtherAttempt::ExternalTransforms;
    attempt.transformsOnExternalData = true;
    check.recognisedXPathOnExternalData = false;
    bool matched = verifyReferenceDigest2(index, attempt, check, run, log);
    if (!matched && check.recognisedXPathOnExternalData) {
        // As for same-document references: a recognised form reads an
        // expression by its text alone, the evaluator as XPath does.
        log.LogInfo("Retry with the XPath evaluator for the expressions of recognised forms...");
        DigestAttempt evaluated = attempt.further(FurtherAttempt::EveryXPathEvaluated);
        evaluated.evaluateEveryXPath = true;
        matched = verifyReferenceDigest2(index, evaluated, check, run, log);
    }
    if (!matched && ref.m_transformsXml.containsSubstring(algorithm_uri::kRelationshipTransformMarker)) {
        // Signers on xmlsec 1.2 wrote the relationships part's whitespace and
        // namespaces their own way; the standard output is tried first.
        log.LogInfo("Retry with the relationship transform's output as old xmlsec wrote it...");
        DigestAttempt old = attempt.further(FurtherAttempt::OldXmlsecRelationships);
        old.oldXmlsecRelationships = true;
        matched = verifyReferenceDigest2(index, old, check, run, log);
    }
    if (matched) {
        log.LogInfo("The external reference matched with its transforms applied.");
        return true;
    }
    // The literal attempt's mismatch stays the reason.
    if (!check.externalDataMissing)
        m_refFailReason = kMismatch;
    return false;
}
