#pragma once

#include <cstdint>
#include <string>
#include <string_view>

class LogBase;

// Bounds on the work one signed document can ask of the verifier, so that a
// hostile document is answered quickly with a reason rather than slowly or
// not at all. Each has a default that a VerifyOptions member changes.
struct VerificationLimits {
    static constexpr std::string_view kMaxReferences = "MaxReferences";
    static constexpr std::string_view kMaxTransforms = "MaxTransforms";
    static constexpr std::string_view kMaxSignatures = "MaxSignatures";
    static constexpr std::string_view kMaxSignatureValueBytes = "MaxSignatureValueBytes";
    static constexpr std::string_view kMaxCertificateBytes = "MaxCertificateBytes";
    static constexpr std::string_view kMaxExternalFileBytes = "MaxExternalFileBytes";
    static constexpr std::string_view kMaxXPathNodes = "MaxXPathNodes";
    static constexpr std::string_view kMaxWorkUnits = "MaxWorkUnits";
    static constexpr std::string_view kMaxReportedElements = "MaxReportedElements";

    static constexpr uint64_t kDefaultMaxReferences = 1000;
    static constexpr uint64_t kDefaultMaxTransforms = 16;
    static constexpr uint64_t kDefaultMaxSignatures = 1000;
    static constexpr uint64_t kDefaultMaxSignatureValueBytes = 1u << 20;
    static constexpr uint64_t kDefaultMaxCertificateBytes = 1u << 20;
    static constexpr uint64_t kDefaultMaxExternalFileBytes = 64u << 20;
    static constexpr uint64_t kDefaultMaxXPathNodes = 50'000'000;
    // About a second here, whatever the document asks for.
    static constexpr uint64_t kDefaultMaxWorkUnits = 20'000'000;
    // On top of MaxWorkUnits: a unit per this many bytes of the document, so
    // that a large document's own passes are never what spends the budget.
    static constexpr uint64_t kDocumentBytesPerWorkUnit = 1;
    static constexpr uint64_t kDefaultMaxReportedElements = 16;

    uint64_t maxReferences = kDefaultMaxReferences;
    uint64_t maxTransforms = kDefaultMaxTransforms;
    uint64_t maxSignatures = kDefaultMaxSignatures;
    uint64_t maxSignatureValueBytes = kDefaultMaxSignatureValueBytes;
    uint64_t maxCertificateBytes = kDefaultMaxCertificateBytes;
    uint64_t maxExternalFileBytes = kDefaultMaxExternalFileBytes;
    // The nodes one XPath, XPath Filter 2.0 or XPointer transform may visit.
    uint64_t maxXPathNodes = kDefaultMaxXPathNodes;
    // The work one verification may do over all its references, transforms
    // and further attempts (see WorkBudget), beyond its allowance per byte.
    uint64_t maxWorkUnits = kDefaultMaxWorkUnits;
    // The top elements of an XPath-selected reference listed in its report.
    uint64_t maxReportedElements = kDefaultMaxReportedElements;

    // Logs why `count` is over `limit` and returns false; true within it.
    static bool within(uint64_t count, uint64_t limit, std::string_view what, std::string_view option, LogBase& log);
    // "References in the signature: 1001, over the limit of 1000 (VerifyOptions "MaxReferences")."
    static std::string excess(uint64_t count, uint64_t limit, std::string_view what, std::string_view option);
};
