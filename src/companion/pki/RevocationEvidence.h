#pragma once

#include <openssl/types.h>

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

enum class RevocationStatus {
    Good,        // not revoked at the time checked
    Revoked,     // revoked at or before the time checked
    Unknown,     // the responder does not know the certificate
    Unavailable, // no source could answer
};

// One online request, or the cache's answer in its place.
struct RevocationFetch {
    std::string url;
    size_t bytes = 0;
    bool fromCache = false;
    std::string error; // why nothing usable came back; empty when something did
};

// What decided one certificate's status, and from where.
struct RevocationEvidence {
    RevocationStatus status = RevocationStatus::Unavailable;
    // "embedded OCSP response", "embedded CRL", "CRL file", "OCSP http://...", "CRL http://..."; empty when
    // Unavailable.
    std::string source;
    std::string url; // of an online source
    // When revoked; also with Good when a later response revoked the certificate after the time checked.
    std::optional<std::time_t> revocationTime;
    std::optional<std::time_t> thisUpdate, nextUpdate, producedAt; // producedAt: OCSP only
    std::string revocationReason; // the CRLReason in words ("keyCompromise"); empty when none was given
    std::string responder;        // the OCSP responder's or the CRL issuer's subject
    // When Unavailable: why each source tried was rejected or could not answer, "; "-separated.
    std::string reason;
    std::vector<RevocationFetch> fetches; // online requests made for this check, in order
};

// Where the status may come from besides the checker's trust anchors' CRLs.
struct RevocationSources {
    std::vector<std::vector<uint8_t>> ocspResponses; // DER, as RevocationValues carry them
    std::vector<std::vector<uint8_t>> crls;          // DER
    bool online = false;                             // ask the AIA responder, else the CRL distribution point
};

// The certificate whose status is asked, at what time, and how far a source's thisUpdate may lie after that
// time and still count as current (clocks differ).
struct RevocationQuery {
    X509* cert = nullptr;
    X509* issuer = nullptr;
    std::time_t at = 0;
    std::time_t allowance = 0;
};
