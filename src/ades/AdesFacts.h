#pragma once

#include "ades/AdesReport.h"
#include "ades/SignaturePolicyCheck.h"
#include "verifier/VerificationReport.h"

#include <ctime>
#include <optional>
#include <string>
#include <vector>

// What validating one signature found, from which its indication follows.
struct AdesFacts {
    // The signature's own verification.
    VerificationStage stage = VerificationStage::None;
    bool coreValid = false;
    bool valueMismatch = false;
    bool referenceMismatch = false;   // a digest did not match
    bool referenceUnresolved = false; // a reference's data was not found

    bool hasXades = false;
    bool signedPropertiesCovered = false;
    std::vector<std::string> unsignedContent;

    enum class SigningCertificate { NotStated, Matches, Mismatch, NoCertificate };
    SigningCertificate signingCertificate = SigningCertificate::NotStated;
    PolicyCheck::Outcome policy = PolicyCheck::Outcome::NoPolicy;
    bool formatNamesNoReference = false; // a DataObjectFormat names no reference

    bool timestampImprintFailed = false;
    bool timestampSignatureFailed = false;
    bool timestampOrderFailed = false;
    bool counterSignatureFailed = false;

    enum class Chain { NoAnchors, NoCertificate, Trusted, Untrusted, OutOfBounds, KeyUsage };
    Chain chain = Chain::NoAnchors;
    enum class Revocation { NotChecked, Good, Revoked, Unknown, Unavailable, NoData };
    Revocation revocation = Revocation::NotChecked;
    std::optional<std::time_t> revocationTime;
    // The best signature time and whether a timestamp proves it.
    std::time_t bestSignatureTime = 0;
    bool bestTimeFromTimestamp = false;
};

struct AdesVerdict {
    AdesIndication indication = AdesIndication::Indeterminate;
    AdesSubIndication subIndication = AdesSubIndication::None;
};

// The indication the facts give: a failure that can never pass first, then
// what more data or another time could settle, then TOTAL_PASSED.
AdesVerdict adesVerdictOf(const AdesFacts& facts);
