#pragma once

#include "ades/AdesReport.h"
#include "ades/XadesElements.h"

#include <span>
#include <string>

// The level the signature reaches: "XML-DSig" without XAdES properties; the
// baseline levels ("XAdES-BASELINE-B", "-T", "-LT", "-LTA") for a XAdES
// 1.3.2 signature with SigningTime and a signing certificate and without
// the older reference properties; otherwise the older forms ("XAdES-BES",
// "-EPES", "-T", "-C", "-X", "-X-L", "-A"). A timestamp counts only when it
// verified.
std::string adesLevelOf(const XmlDocument& doc, const XadesElements& e, bool signingTimeStated,
                        bool signingCertificateStated, std::span<const XadesTimestampOutcome> timestamps);
