#include "api/EngineOptions.h"

#include "api/SettingsData.h"
#include "verifier/VerificationPolicy.h"

#include <nlohmann/json.hpp>

namespace xmldsig {

namespace {
const LimitField kLimitFields[] = {
    {VerificationLimits::kMaxReferences, &Limits::maxReferences, &VerificationLimits::maxReferences},
    {VerificationLimits::kMaxTransforms, &Limits::maxTransforms, &VerificationLimits::maxTransforms},
    {VerificationLimits::kMaxSignatures, &Limits::maxSignatures, &VerificationLimits::maxSignatures},
    {VerificationLimits::kMaxSignatureValueBytes, &Limits::maxSignatureValueBytes,
     &VerificationLimits::maxSignatureValueBytes},
    {VerificationLimits::kMaxCertificateBytes, &Limits::maxCertificateBytes, &VerificationLimits::maxCertificateBytes},
    {VerificationLimits::kMaxExternalFileBytes, &Limits::maxExternalFileBytes,
     &VerificationLimits::maxExternalFileBytes},
    {VerificationLimits::kMaxXPathNodes, &Limits::maxXPathNodes, &VerificationLimits::maxXPathNodes},
    {VerificationLimits::kMaxWorkUnits, &Limits::maxWorkUnits, &VerificationLimits::maxWorkUnits},
    {VerificationLimits::kMaxReportedElements, &Limits::maxReportedElements, &VerificationLimits::maxReportedElements},
};
} // namespace

std::span<const LimitField> limitFields() {
    return kLimitFields;
}

std::string engineUncommonOptions(const SettingsData& s) {
    std::string tokens;
    auto add = [&](bool on, const char* token) {
        if (!on)
            return;
        if (!tokens.empty())
            tokens.push_back(',');
        tokens.append(token);
    };
    add(s.zatca, "ZATCA");
    add(s.myInvois, "MYINVOIS");
    add(s.verifyEncapsulatedTimeStamp, "VerifyEncapsulatedTimeStamp");
    add(s.allowXmlDigestError, "AllowXmlDigestError");
    return tokens;
}

std::string engineVerifyOptions(const SettingsData& s) {
    const Limits defaults;
    nlohmann::json json = nlohmann::json::object();
    for (const LimitField& field : limitFields())
        if (s.limits.*field.member != defaults.*field.member)
            json[std::string(field.name)] = s.limits.*field.member;
    if (s.validateTsaChain)
        json[std::string(VerificationPolicy::kValidateTsaChain)] = true;
    return json.empty() ? std::string() : json.dump();
}

} // namespace xmldsig
