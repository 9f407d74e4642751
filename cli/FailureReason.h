#pragma once

#include "FileVerifier.h"

#include <string>
#include <vector>

class LogBase;

// The references a verification counted as failed, read from its log, each
// with the reason code of its first attempt.
std::vector<SignatureResult::FailedReference> failedReferences(const LogBase& log);

// One line saying why a verification failed: the first failing reference,
// or why the signature value was not accepted.
std::string failureReason(const LogBase& log, const std::vector<SignatureResult::FailedReference>& refs);
