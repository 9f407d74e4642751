#pragma once

#include <string>

namespace xmldsig {

struct SettingsData;

// The settings' accommodations and limits in the forms the engine's
// UncommonOptions and VerifyOptions take: tokens, and a JSON object of the
// members that differ from the defaults (empty when none do, so that the
// engine has nothing to parse per document).
std::string engineUncommonOptions(const SettingsData& settings);
std::string engineVerifyOptions(const SettingsData& settings);

} // namespace xmldsig
