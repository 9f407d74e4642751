#include "verifier/VerificationLimits.h"

#include "companion/base/ClsJsonObject.h"
#include "companion/log/LogBase.h"

#include <string>

namespace {

bool readLimit(const ClsJsonObject& options, std::string_view name, uint64_t& limit, std::string& error, LogBase& log) {
    if (!options.hasMember(name))
        return true;
    const long long value = options.intOf(name, 0);
    if (value < 1) {
        error = "VerifyOptions \"" + std::string(name) + "\" must be a positive integer.";
        log.LogError(error);
        return false;
    }
    limit = static_cast<uint64_t>(value);
    return true;
}

} // namespace

bool VerificationLimits::read(std::string_view optionsText, LogBase& log) {
    *this = VerificationLimits{};
    ClsJsonObject options;
    LogNull quiet;
    if (optionsText.find_first_not_of(" \t\r\n") == std::string_view::npos || !options.load(optionsText, quiet))
        return true;
    VerificationLimits read;
    const bool ok = readLimit(options, kMaxReferences, read.maxReferences, read.error, log) &&
                    readLimit(options, kMaxTransforms, read.maxTransforms, read.error, log) &&
                    readLimit(options, kMaxSignatures, read.maxSignatures, read.error, log) &&
                    readLimit(options, kMaxSignatureValueBytes, read.maxSignatureValueBytes, read.error, log) &&
                    readLimit(options, kMaxCertificateBytes, read.maxCertificateBytes, read.error, log) &&
                    readLimit(options, kMaxExternalFileBytes, read.maxExternalFileBytes, read.error, log);
    if (ok)
        *this = read;
    else
        error = read.error;
    return ok;
}

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
