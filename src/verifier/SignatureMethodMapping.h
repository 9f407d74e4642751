#pragma once

#include "companion/crypto/EddsaVerifier.h"

#include <optional>
#include <string_view>

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
inline constexpr int kEddsa = 5;
inline constexpr int kUnknownKeyType = -1;

// No hash recognised (EdDSA hashes as its curve defines).
inline constexpr int kNoHash = 0;

// The reason a method that is not verified here is refused with, before its URI.
inline constexpr std::string_view kUnsupportedMethod = "unsupported signature method: ";

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
// A method never verified here: no key type, or an EdDSA form that RFC 9231
// does not define.
bool isUnsupportedSignatureMethod(const StringBuffer& uri);
// The EdDSA form of an "#eddsa-" method (RFC 9231), its context still
// empty; none for another method or an EdDSA form not defined there.
std::optional<EddsaForm> signatureMethodToEddsaForm(const StringBuffer& uri);
