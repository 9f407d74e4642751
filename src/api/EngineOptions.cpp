#include "api/EngineOptions.h"

#include "api/SettingsData.h"
#include "verifier/VerificationPolicy.h"

#include <nlohmann/json.hpp>

namespace xmldsig {

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
    auto limit = [&](std::string_view name, std::uint64_t value, std::uint64_t standard) {
        if (value != standard)
            json[std::string(name)] = value;
    };
    const Limits& l = s.limits;
    limit(VerificationLimits::kMaxReferences, l.maxReferences, defaults.maxReferences);
    limit(VerificationLimits::kMaxTransforms, l.maxTransforms, defaults.maxTransforms);
    limit(VerificationLimits::kMaxSignatures, l.maxSignatures, defaults.maxSignatures);
    limit(VerificationLimits::kMaxSignatureValueBytes, l.maxSignatureValueBytes, defaults.maxSignatureValueBytes);
    limit(VerificationLimits::kMaxCertificateBytes, l.maxCertificateBytes, defaults.maxCertificateBytes);
    limit(VerificationLimits::kMaxExternalFileBytes, l.maxExternalFileBytes, defaults.maxExternalFileBytes);
    limit(VerificationLimits::kMaxXPathNodes, l.maxXPathNodes, defaults.maxXPathNodes);
    if (s.validateTsaChain)
        json[std::string(VerificationPolicy::kValidateTsaChain)] = true;
    return json.empty() ? std::string() : json.dump();
}

} // namespace xmldsig
