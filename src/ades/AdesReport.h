#pragma once

#include "companion/crypto/OpensslPtr.h"

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

// The indications of ETSI EN 319 102-1, in the order the API lists them.
enum class AdesIndication : uint8_t { TotalPassed, Indeterminate, TotalFailed };
enum class AdesSubIndication : uint8_t {
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

enum class AdesCheckOutcome : uint8_t { Passed, Failed, NotDone, Info };

struct AdesCheck {
    std::string name;
    AdesCheckOutcome outcome = AdesCheckOutcome::Info;
    std::string detail;
};

enum class XadesTimestampKind : uint8_t {
    Signature,
    AllDataObjects,
    IndividualDataObjects,
    SigAndRefs,
    RefsOnly,
    Archive,
};

// "SignatureTimeStamp", "ArchiveTimeStamp", ...
const char* xadesTimestampElementName(XadesTimestampKind kind);

struct XadesTimestampOutcome {
    // Why it did not verify: the token itself, what it covers could not be
    // rebuilt, or its imprint is not of what it covers.
    enum class Failure : uint8_t { None, Token, InputUnavailable, Imprint };
    XadesTimestampKind kind = XadesTimestampKind::Signature;
    uint32_t element = 0;
    bool valid = false;
    Failure failure = Failure::None;
    std::string reason; // when not valid
    std::optional<std::time_t> time;
    X509Ptr tsaCertificate;
    bool tsaTrusted = false;
    std::string tsaReason; // when the TSA's chain was checked and failed
};

// What the signed properties state.
struct XadesProperties {
    std::optional<std::time_t> signingTime;
    std::string signingTimeText;
    struct DataObjectFormat {
        int reference = -1;
        std::string objectReference;
        std::string mimeType;
        std::string description;
    };
    std::vector<DataObjectFormat> dataObjectFormats;
    std::vector<std::string> commitmentTypes;
    std::vector<std::string> signerRoles;
    std::string productionPlace;
    std::string policyIdentifier; // "implied" for an implied policy
};

struct AdesChainLink {
    X509Ptr certificate;
    bool anchor = false;
    std::string revocation = "not checked";
    std::string revocationSource;
    std::optional<std::time_t> revocationTime;
};

struct CounterSignatureOutcome {
    std::string id;
    bool valid = false;
    std::string reason;
    std::string signerSubject;
};

// The AdES validation of one signature.
struct AdesReport {
    AdesIndication indication = AdesIndication::Indeterminate;
    AdesSubIndication subIndication = AdesSubIndication::None;
    std::string level;
    std::optional<std::time_t> bestSignatureTime;
    std::vector<AdesCheck> checks;
    XadesProperties properties;
    std::vector<XadesTimestampOutcome> timestamps;
    std::vector<AdesChainLink> chain;
    std::vector<CounterSignatureOutcome> counterSignatures;

    void check(std::string name, AdesCheckOutcome outcome, std::string detail = {}) {
        checks.push_back({std::move(name), outcome, std::move(detail)});
    }
};
