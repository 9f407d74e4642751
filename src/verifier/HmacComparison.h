#pragma once

#include <cstddef>

class DataBuffer;

// Compares a computed HMAC with the decoded SignatureValue, in constant time,
// with the truncation that HMACOutputLength allows.
namespace hmac_comparison {

enum class Outcome {
    Match,
    Mismatch,
    // HMACOutputLength below 80 bits or below half the MAC (CVE-2009-0217).
    BelowMinimum,
    // HMACOutputLength not a whole number of bytes, or longer than the MAC.
    NotByteLength,
};

// Whether a declared HMACOutputLength may be honoured for a MAC of
// `macBytes`: Match when it may (or none is declared), else why not. A
// declaration below the floor is refused whatever the value's length.
Outcome checkOutputLength(size_t macBytes, int outputBits);

// outputBits: HMACOutputLength, or signature_method::kNoHmacOutputLength to
// compare the whole MAC.
Outcome compare(const DataBuffer& mac, const DataBuffer& signatureValue, int outputBits);

} // namespace hmac_comparison
