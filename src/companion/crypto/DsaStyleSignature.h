#pragma once

#include <cstddef>
#include <string>
#include <vector>

class DataBuffer;
typedef struct evp_pkey_st EVP_PKEY;

// How a DSA or ECDSA signature value is encoded, as the verifiers' format
// flag: XML-DSig writes r and s side by side (r||s, each half the size of
// the group order), other signers a DER SEQUENCE of two INTEGERs.
namespace sig_format {
inline constexpr int kAuto = 0; // either: the DER reading first, then r||s
inline constexpr int kRawRs = 1;
inline constexpr int kDer = 2;
} // namespace sig_format

// The (r, s) pair of a DSA or ECDSA signature in its encodings.
class DsaStyleSignature {
public:
    // The DER forms that the signature value may stand for. An r||s value
    // may deviate from 2*halfLen bytes by one leading zero byte too many or
    // too few in each half, as some Java signers write it; every split that
    // fits is listed.
    static std::vector<std::string> candidateDerForms(const DataBuffer& sig, size_t halfLen, int format);

    // True when any candidate verifies against hash with the key. False
    // when none does or the check could not run.
    static bool verifyAny(EVP_PKEY* pkey, const std::vector<std::string>& derForms, const DataBuffer& hash);
};
