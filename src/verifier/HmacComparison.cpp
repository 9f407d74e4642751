#include "verifier/HmacComparison.h"

#include "companion/text/DataBuffer.h"
#include "verifier/SignatureMethodParams.h"

#include <openssl/crypto.h>

namespace hmac_comparison {
namespace {

constexpr size_t kBitsPerByte = 8;
constexpr size_t kMinOutputBits = 80;

} // namespace

Outcome checkOutputLength(size_t macBytes, int outputBits) {
    if (outputBits == signature_method::kNoHmacOutputLength)
        return Outcome::Match;
    const size_t bits = static_cast<size_t>(outputBits);
    const size_t macBits = macBytes * kBitsPerByte;
    if (bits < kMinOutputBits || 2 * bits < macBits)
        return Outcome::BelowMinimum;
    if (bits % kBitsPerByte != 0 || bits > macBits)
        return Outcome::NotByteLength;
    return Outcome::Match;
}

Outcome compare(const DataBuffer& mac, const DataBuffer& signatureValue, int outputBits) {
    if (const Outcome allowed = checkOutputLength(mac.getSize(), outputBits); allowed != Outcome::Match)
        return allowed;
    const size_t length = outputBits == signature_method::kNoHmacOutputLength
                              ? mac.getSize()
                              : static_cast<size_t>(outputBits) / kBitsPerByte;
    if (signatureValue.getSize() != length)
        return Outcome::Mismatch;
    return CRYPTO_memcmp(signatureValue.getData(), mac.getData(), length) == 0 ? Outcome::Match : Outcome::Mismatch;
}

} // namespace hmac_comparison
