#pragma once

#include "ades/AdesContext.h"
#include "companion/xml/XmlDocument.h"

#include <span>
#include <string>

class LogBase;

// The SignaturePolicyIdentifier's digest against the policy's document.
struct PolicyCheck {
    enum class Outcome { NoPolicy, Implied, NoDocument, Matched, Mismatch, Unprocessable };
    Outcome outcome = Outcome::NoPolicy;
    std::string identifier;
    std::string detail;
};

// The document supplied for the policy: the one given for its identifier,
// else one whose file name ends the identifier, else the only one given.
PolicyCheck checkSignaturePolicy(const XmlDocument& doc, uint32_t signedSignatureProperties,
                                 std::span<const PolicyDocument> documents, LogBase& log);
