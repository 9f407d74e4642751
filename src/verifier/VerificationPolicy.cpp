#include "verifier/VerificationPolicy.h"

#include "companion/base/ClsJsonObject.h"
#include "companion/log/LogBase.h"
#include "companion/text/StringBuffer.h"

#include <string>

namespace {

// The limits VerifyOptions may set, each a positive integer.
constexpr std::pair<std::string_view, uint64_t VerificationLimits::*> kLimitMembers[] = {
    {VerificationLimits::kMaxReferences, &VerificationLimits::maxReferences},
    {VerificationLimits::kMaxTransforms, &VerificationLimits::maxTransforms},
    {VerificationLimits::kMaxSignatures, &VerificationLimits::maxSignatures},
    {VerificationLimits::kMaxSignatureValueBytes, &VerificationLimits::maxSignatureValueBytes},
    {VerificationLimits::kMaxCertificateBytes, &VerificationLimits::maxCertificateBytes},
    {VerificationLimits::kMaxExternalFileBytes, &VerificationLimits::maxExternalFileBytes},
    {VerificationLimits::kMaxXPathNodes, &VerificationLimits::maxXPathNodes},
    {VerificationLimits::kMaxWorkUnits, &VerificationLimits::maxWorkUnits},
    {VerificationLimits::kMaxReportedElements, &VerificationLimits::maxReportedElements},
};

bool readLimits(const ClsJsonObject& options, VerificationLimits& limits, std::string& error) {
    for (const auto& [name, member] : kLimitMembers) {
        if (!options.hasMember(name))
            continue;
        const long long value = options.intOf(name, 0);
        if (value < 1) {
            error = "VerifyOptions \"" + std::string(name) + "\" must be a positive integer.";
            return false;
        }
        limits.*member = static_cast<uint64_t>(value);
    }
    return true;
}

} // namespace

// Tokens are found anywhere in the text, as signers' integrations write
// them; the timestamp token in any case, the digest-error token as written.
ProfileOptions ProfileOptions::parse(std::string_view uncommonOptions) {
    const StringBuffer text(uncommonOptions);
    ProfileOptions out;
    out.zatca = text.containsSubstringNoCase("ZATCA");
    out.myInvois = text.containsSubstringNoCase("MYINVOIS");
    out.verifyEncapsulatedTimeStamp = text.containsSubstringNoCase("VerifyEncapsulatedTimeStamp");
    out.allowXmlDigestError = text.containsSubstring("AllowXmlDigestError");
    return out;
}

VerificationPolicy VerificationPolicy::parse(std::string_view uncommonOptions, std::string_view verifyOptions) {
    VerificationPolicy policy;
    policy.profile = ProfileOptions::parse(uncommonOptions);
    ClsJsonObject options;
    LogNull quiet;
    if (verifyOptions.find_first_not_of(" \t\r\n") == std::string_view::npos)
        return policy;
    if (!options.load(verifyOptions, quiet)) {
        policy.verifyOptionsReadable = false;
        return policy;
    }
    VerificationLimits limits;
    if (!readLimits(options, limits, policy.error))
        return policy;
    policy.limits = limits;
    policy.validateTsaChain = options.boolOf(kValidateTsaChain, false);
    return policy;
}
