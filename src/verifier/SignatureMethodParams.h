#pragma once

#include "companion/crypto/EddsaVerifier.h"

#include <string>

class ClsXml;
class LogBase;

// The parameters a SignatureMethod element carries in its children.
namespace signature_method {

// RSASSA-PSS as RSAPSSParams states it (the "#rsa-pss" method URI).
struct PssParams {
    int hashAlg = 0;
    int mgf1HashAlg = 0;
    int saltLength = 0;
};

// HMACOutputLength when the method element has none.
inline constexpr int kNoHmacOutputLength = -1;

// Reads RSAPSSParams of the method element, with the defaults of RFC 6931
// for what it leaves out (SHA-256, MGF1 over the message hash, a salt as
// long as that hash). False (logged) for a hash, mask generation function,
// salt length or trailer field that cannot be verified, with `error` saying
// which (the caller logs it).
bool readPssParams(const ClsXml& method, PssParams& out, std::string& error, LogBase& log);

// Reads HMACOutputLength, in bits: kNoHmacOutputLength when absent. False,
// with `error`, when its text is not a non-negative decimal number.
bool readHmacOutputLength(const ClsXml& method, int& bits, std::string& error, LogBase& log);

// Reads the EdDSAContextString (base64) of the method element into the
// form's context. False, with `error`, when it is not base64, when it is
// longer than 255 bytes, or when Ed25519ctx has none (RFC 8032 forbids an
// empty one there).
bool readEddsaContext(const ClsXml& method, EddsaForm& form, std::string& error, LogBase& log);

} // namespace signature_method
