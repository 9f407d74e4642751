#pragma once

#include "xmldsig/Export.h"

#include "xmldsig/Result.h"
#include "xmldsig/Status.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace xmldsig {

// The certificates that the KeyInfo of the signature at `signatureIndex`
// carries (X509Data, WS-Security tokens) in `out`, each once; text that is
// not a certificate is left out. Errors: file_unreadable, not_xml,
// no_signature, no_such_signature, and unresolved_key_info when KeyInfo
// refers to a token the document does not hold.
XMLDSIG_API Status keyInfoCertificates(std::string_view document, int signatureIndex, std::vector<Certificate>& out);
XMLDSIG_API Status keyInfoCertificatesOfFile(const std::filesystem::path& path, int signatureIndex,
                                             std::vector<Certificate>& out);

// The certificate as PEM text ("-----BEGIN CERTIFICATE-----\n..."); empty
// when its DER is not a certificate.
XMLDSIG_API std::string pem(const Certificate& certificate);

} // namespace xmldsig
