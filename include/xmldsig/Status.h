#pragma once

#include "xmldsig/Export.h"

#include <string>
#include <system_error>

namespace xmldsig {

// Why a call could not do what it was asked (not a verdict: an invalid
// signature is a result, not an error).
enum class Errc {
    ok = 0,
    file_unreadable = 1,     // a document, key, certificate or data file cannot be read
    not_xml = 2,             // the document cannot be loaded as XML
    no_signature = 3,        // the document holds no signature
    no_such_signature = 4,   // no signature at the index or with the Id asked for
    bad_key = 5,             // not a public key or certificate; an HMAC secret in the wrong encoding
    bad_certificate = 6,     // a file or folder without any certificate
    bad_crl = 7,             // a file without any CRL
    bad_option = 8,          // a malformed option, limit or time
    unresolved_key_info = 9, // KeyInfo refers to a token the document does not hold
    timestamp_failed = 10,   // the signature cannot take a timestamp, or the authority gave none
    no_such_element = 11,    // no element with the Id asked for
};

XMLDSIG_API const std::error_category& error_category() noexcept;
XMLDSIG_API std::error_code make_error_code(Errc e) noexcept;
// The code's name as written above: "file_unreadable", "not_xml", ...
XMLDSIG_API const char* errcName(Errc e) noexcept;

// An error code and the one-line message that says what went wrong with
// what ("keys/signer.pem: not a public key or certificate").
struct Status {
    std::error_code code;
    std::string message;

    bool ok() const noexcept { return !code; }
    explicit operator bool() const noexcept { return ok(); }
};

} // namespace xmldsig

template <> struct std::is_error_code_enum<xmldsig::Errc> : std::true_type {};
