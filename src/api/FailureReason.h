#pragma once

#include "xmldsig/Result.h"

#include <string>
#include <vector>

struct VerificationReport;

namespace xmldsig {

// The references a verification found failed, each with the reason code of
// its first attempt.
std::vector<SignatureResult::FailedReference> failedReferences(const VerificationReport& report);

// "digest mismatch", ... for a reference's failure code.
std::string referenceFailureText(int reason);

// One line saying why a verification failed: the first failing reference,
// or why the signature value was not accepted.
std::string failureReason(const VerificationReport& report);

} // namespace xmldsig
