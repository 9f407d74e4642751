#pragma once

#include "xmldsig/Ades.h"

#include "ades/AdesReport.h"

namespace xmldsig {

// The engine's AdES report in the public form.
AdesValidation adesValidation(const AdesReport& report);

} // namespace xmldsig
