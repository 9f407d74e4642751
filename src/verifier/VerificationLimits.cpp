#include "verifier/VerificationLimits.h"

#include "companion/log/LogBase.h"

bool VerificationLimits::within(uint64_t count, uint64_t limit, std::string_view what, std::string_view option,
                                LogBase& log) {
    if (count <= limit)
        return true;
    log.LogError(excess(count, limit, what, option));
    return false;
}

std::string VerificationLimits::excess(uint64_t count, uint64_t limit, std::string_view what, std::string_view option) {
    return std::string(what) + " " + std::to_string(count) + ", over the limit of " + std::to_string(limit) +
           " (VerifyOptions \"" + std::string(option) + "\").";
}
