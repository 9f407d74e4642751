#include "api/FailureReason.h"

#include "references/RefFailReason.h"
#include "verifier/VerificationReport.h"

namespace xmldsig {

std::string referenceFailureText(int reason) {
    switch (reason) {
    case ref_fail_reason::kMismatch:
        return "digest mismatch";
    case ref_fail_reason::kExternalDataMissing:
        return "external data missing or unreadable";
    case ref_fail_reason::kNoReference:
        return "no such reference";
    case ref_fail_reason::kCanonicalizationFailed:
        return "canonicalization failed";
    case ref_fail_reason::kIdentifierNotUnique:
        return "identifier is not unique";
    case ref_fail_reason::kXsltNotExecuted:
        return "XSLT transforms are not executed";
    default:
        return "could not be processed";
    }
}

std::vector<SignatureResult::FailedReference> failedReferences(const VerificationReport& report) {
    std::vector<SignatureResult::FailedReference> refs;
    refs.reserve(report.failedReferences.size());
    for (const auto& failed : report.failedReferences)
        refs.push_back({failed.index, failed.reason});
    return refs;
}

std::string failureReason(const VerificationReport& report) {
    // Without a counted failure the listed references were excused (missing
    // external data under IgnoreExternalRefs).
    if (report.stage == VerificationStage::References && report.countedReferenceFailures > 0 &&
        !report.failedReferences.empty()) {
        const auto& first = report.failedReferences.front();
        return "reference " + std::to_string(first.index) + ": " + referenceFailureText(first.reason);
    }
    if (report.valueMismatch || report.reason.empty())
        return "the signature value does not verify";
    return report.reason;
}

} // namespace xmldsig
