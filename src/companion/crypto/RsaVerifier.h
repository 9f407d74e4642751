#pragma once

class DataBuffer;
class LogBase;
class RsaKey;

// The RSA padding selectors of verifyHashExt.
namespace rsa_padding {
inline constexpr int kPkcs1v15 = 1;
inline constexpr int kPss = 3;
// A PSS salt of whatever length the signature holds.
inline constexpr int kAnySaltLength = -1;
} // namespace rsa_padding

// RSA signature verification over a hash computed by the caller.
class RsaVerifier {
public:
    // Checks signature against hash (whose algorithm is hashAlg, HashIds.h)
    // with key, using PKCS#1 v1.5 or PSS with MGF1 over mgf1HashAlg (the
    // padding selectors above). PSS requires a salt of saltLength bytes, or
    // accepts any length with kAnySaltLength.
    //
    // littleEndianSig: the signature bytes are in little-endian order (as
    // Windows CryptoAPI writes them); false for the usual big-endian order.
    // withDigestInfo: under PKCS#1 v1.5 the signed block is a DigestInfo
    // naming the hash (the standard); false for a bare hash.
    //
    // Returns true when the check ran: valid then tells the outcome. Returns
    // false when it could not: keyMismatch is then set when the signature
    // cannot have been made with this key (it is longer than the modulus or
    // does not decode to a padded block), and clear for other failures
    // (unsupported hash or padding, OpenSSL failure), which are logged as
    // errors.
    static bool verifyHashExt(const DataBuffer& signature, const DataBuffer& hash, int hashAlg, int padding,
                              int mgf1HashAlg, bool& valid, const RsaKey& key, bool littleEndianSig,
                              bool withDigestInfo, bool& keyMismatch, LogBase& log,
                              int saltLength = rsa_padding::kAnySaltLength);
};
