#pragma once

#include "companion/crypto/OpensslPtr.h"
#include "companion/text/DataBuffer.h"

#include <ctime>
#include <optional>
#include <string>
#include <vector>

class CertificateStore;
class LogBase;

// An RFC 3161 timestamp token whose CMS signature verified: what its
// TSTInfo vouches for and who signed it.
struct TimestampToken {
    int hashAlg = 0; // of the message imprint (HashIds.h); 0 when unknown
    std::string hashOid;
    DataBuffer imprint;
    std::optional<std::time_t> genTime;
    X509Ptr tsaCertificate;
    std::vector<X509Ptr> certificates; // those the token carries

    // Reads and verifies the DER token; `known` supplies a signer
    // certificate the token lacks. False with the reason in words.
    static bool read(const DataBuffer& der, CertificateStore& known, TimestampToken& out, std::string& reason,
                     LogBase& log);
};
