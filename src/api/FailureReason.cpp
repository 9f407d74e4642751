#include "api/FailureReason.h"

#include "companion/log/LogBase.h"
#include "references/RefFailReason.h"

#include <array>
#include <charconv>

namespace xmldsig {

namespace {

int toInt(const std::string& text) {
    int value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

} // namespace

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
    default:
        return "could not be processed";
    }
}

namespace {

// Error lines by which the key dispatch says the value itself is wrong.
bool saysValueInvalid(const std::string& message) {
    constexpr std::array kMarkers = {"found the signature to be invalid", "HMAC validation failed",
                                     "DSA verify hash failed"};
    for (const char* marker : kMarkers)
        if (message.find(marker) != std::string::npos)
            return true;
    return false;
}

} // namespace

std::vector<SignatureResult::FailedReference> failedReferences(const LogBase& log) {
    std::vector<SignatureResult::FailedReference> refs;
    int lastReason = 0;
    for (const LogBase::Entry& e : log.entries()) {
        if (e.kind != LogBase::Kind::Data)
            continue;
        if (e.tag == "invalidDigestReason")
            lastReason = toInt(e.value);
        else if (e.tag == "referenceIndex")
            refs.push_back({toInt(e.value), lastReason});
    }
    return refs;
}

std::string failureReason(const LogBase& log, const std::vector<SignatureResult::FailedReference>& refs) {
    // Without a failure count the listed references were excused (missing
    // external data under IgnoreExternalRefs).
    bool refsCounted = false;
    // A value that no candidate key verifies reads to the RSA primitive as
    // made by another key; earlier errors are then only lookup remarks.
    bool noKeyMatched = false;
    std::string lastError;
    for (const LogBase::Entry& e : log.entries()) {
        if (e.kind == LogBase::Kind::Data && e.tag == "refFailureCount")
            refsCounted = true;
        else if (e.kind == LogBase::Kind::Error)
            lastError = e.value;
        else if (e.kind == LogBase::Kind::Info && e.value == "Not the correct key.")
            noKeyMatched = true;
    }
    if (refsCounted && !refs.empty()) {
        const auto& first = refs.front();
        return "reference " + std::to_string(first.index) + ": " + referenceFailureText(first.reason);
    }
    if (lastError.empty() || noKeyMatched || saysValueInvalid(lastError))
        return "the signature value does not verify";
    return lastError;
}

} // namespace xmldsig
