#pragma once

class LogBase;
class StringBuffer;

// The hash and key type a SignatureMethod URI names, by the substrings that
// signers' URIs share (no table of full URIs: signers write many variants).
namespace signature_method {

// Key types of a signature method.
inline constexpr int kRsa = 1;
inline constexpr int kDsa = 2;
inline constexpr int kEcdsa = 3;
inline constexpr int kHmac = 4;
inline constexpr int kUnknownKeyType = -1;

// No hash recognised, and a hash recognised but refused.
inline constexpr int kNoHash = 0;
inline constexpr int kRefusedHash = -1;

// RSA padding selectors.
inline constexpr int kPkcs1v15 = 1;
inline constexpr int kPss = 3;

} // namespace signature_method

int signatureMethodToHashAlg(const StringBuffer& uri, LogBase& log);
int signatureMethodToKeyType(const StringBuffer& uri, LogBase& log);
