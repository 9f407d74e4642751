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
// Whether the method is RSASSA-PSS whose hash, mask generation and salt its
// RSAPSSParams child states (RFC 6931), not its URI.
bool isPssWithParams(const StringBuffer& uri);
// The RSA padding selector of a method URI: PSS for the "-rsa-MGF1" URIs and
// for RSASSA-PSS with parameters, PKCS#1 v1.5 otherwise.
int signatureMethodToRsaPadding(const StringBuffer& uri);
