#pragma once

#include <string_view>

// The XML-DSig names by which signatures are recognized in a document.
namespace xml_sig_names {

inline constexpr std::string_view kNamespace = "http://www.w3.org/2000/09/xmldsig#";
inline constexpr std::string_view kSignature = "Signature";
inline constexpr std::string_view kSignedInfo = "SignedInfo";
inline constexpr std::string_view kSignatureValue = "SignatureValue";

} // namespace xml_sig_names
