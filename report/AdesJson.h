#pragma once

#include "xmldsig/Ades.h"

#include <nlohmann/json.hpp>

// {"indication", "subIndication", "level", "bestSignatureTime", "checks"}:
// subIndication and bestSignatureTime are null when there is none.
nlohmann::json adesVerdictJson(const xmldsig::AdesValidation& ades);
// The verdict, and what was found on the way: "properties", "timestamps",
// "chain", "counterSignatures".
nlohmann::json adesFullJson(const xmldsig::AdesValidation& ades);
