#pragma once

#include "verifier/FurtherAttempt.h"
#include "verifier/ReferenceOutcome.h"
#include "verifier/SignerIdentity.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// The stage of a verification that decided its outcome.
enum class VerificationStage : uint8_t {
    None,           // nothing was verified
    Selection,      // no signature, or one without references
    Limits,         // a VerifyOptions limit is invalid or exceeded
    References,     // a reference failed
    Location,       // the signature could not be told apart in the text
    Timestamp,      // the encapsulated timestamp did not verify
    SignedInfo,     // SignedInfo could not be read or canonicalized, or names an unsupported method
    KeyResolution,  // no key to check the value with
    SignatureValue, // the value was checked (valid or not)
};

// "references", "key resolution", ...
const char* verificationStageName(VerificationStage stage);

// A limit a document went over.
struct LimitExceeded {
    std::string option; // the VerifyOptions member: "MaxReferences", ...
    uint64_t count = 0;
    uint64_t limit = 0;
};

// A further attempt that made a reference (or, at index -1, the signature
// value) verify.
struct AttemptUsed {
    static constexpr int kSignatureValue = -1;
    int reference = kSignatureValue;
    FurtherAttempt attempt = FurtherAttempt::None;
};

// The facts of one verification of the selected signature, for whoever acts
// on its verdict. The log tells a person the same story in words.
struct VerificationReport {
    bool valid = false;
    VerificationStage stage = VerificationStage::None;
    // Why the deciding stage failed, in words, when neither a reference nor
    // the value itself did.
    std::string reason;
    // Keys were tried and none verified the value.
    bool valueMismatch = false;
    std::vector<ReferenceOutcome> references;
    // The references that failed, in the order checked, each with its literal
    // attempt's code; those whose missing data was excused count no failure.
    struct FailedReference {
        int index = 0;
        int reason = 0;
    };
    std::vector<FailedReference> failedReferences;
    int countedReferenceFailures = 0;
    SignerIdentity signer; // the key that verified, and the stated signing time
    std::vector<AttemptUsed> attempts;
    std::optional<LimitExceeded> limit;
};
