#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

struct VerificationLimits;

namespace xmldsig {

struct Limits;
struct SettingsData;

// Each public limit with the VerifyOptions member that names it and the
// engine's field that holds it.
struct LimitField {
    std::string_view name;
    std::uint64_t Limits::*member;
    std::uint64_t VerificationLimits::*engineMember;
};
std::span<const LimitField> limitFields();

// The settings' accommodations and limits in the forms the engine's
// UncommonOptions and VerifyOptions take: tokens, and a JSON object of the
// members that differ from the defaults (empty when none do, so that the
// engine has nothing to parse per document).
std::string engineUncommonOptions(const SettingsData& settings);
std::string engineVerifyOptions(const SettingsData& settings);

} // namespace xmldsig
