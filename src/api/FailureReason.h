#pragma once

#include "xmldsig/Result.h"

#include <string>
#include <vector>

class LogBase;

namespace xmldsig {

// The references a verification counted as failed, read from its log, each
// with the reason code of its first attempt.
std::vector<SignatureResult::FailedReference> failedReferences(const LogBase& log);

// "digest mismatch", ... for a reference's failure code.
std::string referenceFailureText(int reason);

// One line saying why a verification failed: the first failing reference,
// or why the signature value was not accepted.
std::string failureReason(const LogBase& log, const std::vector<SignatureResult::FailedReference>& refs);

} // namespace xmldsig
