#pragma once

#include "xmldsig/Export.h"

#include "xmldsig/Ades.h"
#include "xmldsig/Status.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace xmldsig {

// A certificate as people read it.
struct Certificate {
    std::string subject; // "CN=..., O=..., C=...", most specific first
    std::string issuer;
    std::string serialNumber;      // hex
    std::string notBefore;         // "2024-05-01T12:00:00Z"
    std::string notAfter;          //
    std::string sha256Fingerprint; // "AB:CD:..."
    std::vector<std::uint8_t> der; // the certificate itself
};

// The key that verified a signature and where it came from.
struct Signer {
    // "certificate in KeyInfo", "KeyValue in KeyInfo", "certificate store, by
    // issuer and serial", "... by subject name", "... by subject key
    // identifier", "WS-Security token", "caller's key", "HMAC secret".
    std::string keySource;
    // How KeyInfo led to the key: "X509Data", "DEREncodedKeyValue",
    // "KeyInfoReference → X509Data", "X509Digest lookup in the store", ...
    std::string keyPath;
    std::string algorithm;       // "rsa-sha256": the fragment of the method URI
    std::string signatureMethod; // the SignatureMethod URI
    std::string keyType;         // "rsa", "dsa", "ec", "eddsa", "hmac"
    int keyBits = 0;
    std::optional<Certificate> certificate;
    // When the signature says it was made ("signature timestamp" or
    // "SigningTime"), when that statement was verified.
    std::string signingTime;
    std::string signingTimeSource;
};

// Whether the signer chains to a trust anchor of the settings.
struct Trust {
    enum class Status { NotChecked, Trusted, NotTrusted };
    Status status = Status::NotChecked;
    std::string anchorSubject; // Trusted: the anchor the chain ends at
    std::string reason;        // NotTrusted: why
    std::string time;          // the time the chain was checked at
    std::string timeSource;    // "--at", "signature timestamp", "SigningTime", "current time"
};

// What one reference named, what it resolved to and whether its digest
// matched.
struct Reference {
    // Selection: what evaluated XPath, XPath Filter 2.0 or XPointer
    // transforms kept is not the whole of what the URI named.
    enum class Target { Element, WholeDocument, External, Unresolved, Selection };
    struct SelectedElement {
        std::string name;
        std::string path;
        std::uint32_t line = 0; // 0 when read from a text an earlier transform edited
        std::uint32_t offset = 0;
    };
    int index = 0;
    std::string uri;
    Target target = Target::Unresolved;
    std::string elementName; // Element: its name as written
    std::string path;        // Element: "/{urn:r}root/{urn:b}Item[1]" (README, "What was signed")
    std::uint32_t line = 0;
    std::uint32_t offset = 0;
    std::string externalFile; // External: the file hashed (empty for caller data)
    // Selection: its top elements (at most Limits::maxReportedElements), how
    // many there are, and whether anything around them was left out.
    std::vector<SelectedElement> selected;
    std::uint64_t selectedCount = 0;
    bool excludesOutside = false;
    std::vector<std::string> transforms;
    std::string digestMethod;
    bool matched = false;
    int failReason = 0;  // when not matched: the engine's code
    std::string failure; // and its text: "digest mismatch", ...
};

// A reading tried after the literal one that made a reference, or the
// signature value, verify: "attribute-sorting bug emulated", "comments left
// out", "transforms applied to external data", ...
struct FurtherAttemptUsed {
    int reference = -1; // -1: the signature value
    std::string name;
};

// A VerifyOptions limit the document went over.
struct LimitHit {
    std::string option; // "MaxReferences", ...
    std::uint64_t count = 0;
    std::uint64_t limit = 0;
};

struct SignatureResult {
    int index = 0;
    std::string id;
    bool valid = false;
    // For an invalid signature: the first reason.
    std::string reason;
    // The stage that decided: "selection", "limits", "references",
    // "location", "timestamp", "SignedInfo", "key resolution", "signature
    // value" (for every signature whose value was checked, valid or not).
    std::string stage;
    std::vector<FurtherAttemptUsed> furtherAttempts;
    std::optional<LimitHit> limit;
    // The engine's code for the first failing reference (0 when none).
    int refFailReason = 0;
    struct FailedReference {
        int index = 0;
        int reason = 0;
    };
    std::vector<FailedReference> failedReferences;
    std::optional<Signer> signer; // when the signature value verified
    Trust trust;
    std::vector<Reference> references; // when the references were checked
    std::optional<AdesValidation> ades; // when the settings ask for it
    std::string logText;               // as the settings ask
    std::string logJson;
};

// The outcome for one document: an error, or a result per signature asked for.
struct Result {
    Status status;
    std::vector<SignatureResult> signatures;

    // Every signature asked for is valid (and trusted, when anchors were given).
    XMLDSIG_API bool valid() const noexcept;
};

} // namespace xmldsig
