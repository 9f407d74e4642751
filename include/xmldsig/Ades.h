#pragma once

#include "xmldsig/Export.h"

#include <cstdint>
#include <string>
#include <vector>

namespace xmldsig {

// The validation of an advanced electronic signature (ETSI EN 319 102-1):
// whether a relying party may act on it, and why.
struct AdesValidation {
    enum class Indication { TotalPassed, Indeterminate, TotalFailed };
    enum class SubIndication {
        None,
        FormatFailure,
        HashFailure,
        SigCryptoFailure,
        SignedDataNotFound,
        NoSigningCertificateFound,
        NoCertificateChainFound,
        ChainConstraintsFailure,
        Revoked,
        RevokedNoPoe,
        OutOfBoundsNoPoe,
        OutOfBoundsNotRevoked,
        TryLater,
        PolicyProcessingError,
        SignatureConstraintsFailure,
        TimestampOrderFailure,
        CryptoConstraintsFailure,
    };
    // One check made, in words: "signed properties", "signing certificate",
    // "signature timestamp", "revocation of CN=...", ...
    struct Check {
        enum class Outcome { Passed, Failed, NotDone, Info };
        std::string name;
        Outcome outcome = Outcome::Info;
        std::string detail;
    };
    // A timestamp of the signature's unsigned or signed properties.
    struct Timestamp {
        std::string kind; // "SignatureTimeStamp", "ArchiveTimeStamp", ...
        bool valid = false;
        std::string time; // genTime, "2024-05-01T12:00:00Z"
        std::string tsaSubject;
        bool tsaTrusted = false;
        std::string reason; // when not valid
    };
    // A certificate of the signer's chain, signer first, and its revocation.
    struct ChainCertificate {
        std::string subject;
        std::string issuer;
        std::string serialNumber;
        std::string notBefore;
        std::string notAfter;
        std::string sha256Fingerprint;
        bool anchor = false;
        std::string revocation;       // "good", "revoked", "unknown", "unavailable", "not checked"
        std::string revocationSource; // "embedded OCSP response", "OCSP http://...", "CRL file", ...
        std::string revocationTime;   // when revoked
    };
    // What the signed properties state.
    struct Properties {
        std::string signingTime;
        struct DataObjectFormat {
            int reference = -1; // the reference it describes, -1 when it names none of them
            std::string mimeType;
            std::string description;
        };
        std::vector<DataObjectFormat> dataObjectFormats;
        std::vector<std::string> commitmentTypes;
        std::vector<std::string> signerRoles;
        std::string productionPlace;
        std::string policyIdentifier; // empty: none; "implied" for an implied policy
    };
    struct CounterSignature {
        std::string id;
        bool valid = false;
        std::string reason;
        std::string signerSubject;
    };

    Indication indication = Indication::Indeterminate;
    SubIndication subIndication = SubIndication::None;
    // "XAdES-BASELINE-B", "-T", "-LT", "-LTA"; the older "XAdES-BES", "-EPES",
    // "-T", "-C", "-X", "-X-L", "-A"; "XML-DSig" without XAdES properties.
    std::string level;
    std::string bestSignatureTime;
    std::vector<Check> checks;
    Properties properties;
    std::vector<Timestamp> timestamps;
    std::vector<ChainCertificate> chain;
    std::vector<CounterSignature> counterSignatures;
};

// "TOTAL_PASSED", "INDETERMINATE", "TOTAL_FAILED".
XMLDSIG_API const char* indicationName(AdesValidation::Indication indication) noexcept;
// "" for None, else "HASH_FAILURE", "NO_SIGNING_CERTIFICATE_FOUND", ...
XMLDSIG_API const char* subIndicationName(AdesValidation::SubIndication subIndication) noexcept;
// "passed", "failed", "not done", "info".
XMLDSIG_API const char* checkOutcomeName(AdesValidation::Check::Outcome outcome) noexcept;

} // namespace xmldsig
