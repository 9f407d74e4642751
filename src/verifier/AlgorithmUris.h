#pragma once

#include <string_view>

// The transform and canonicalization algorithms of XML-DSig: full URIs where
// one is written out, and the parts by which an Algorithm attribute is
// recognised (signers vary the rest: "#WithComments", a trailing '#').
namespace algorithm_uri {

inline constexpr std::string_view kEnvelopedSignature = "http://www.w3.org/2000/09/xmldsig#enveloped-signature";
inline constexpr std::string_view kInclusiveC14n = "http://www.w3.org/TR/2001/REC-xml-c14n-20010315";
inline constexpr std::string_view kExclusiveC14n = "http://www.w3.org/2001/10/xml-exc-c14n#";
inline constexpr std::string_view kXPathFilter2 = "http://www.w3.org/2002/06/xmldsig-filter2";

inline constexpr std::string_view kInclusiveC14nMarker = "REC-xml-c14n-20010315";
inline constexpr std::string_view kExclusiveC14nMarker = "xml-exc-c14n";
inline constexpr std::string_view kC14n11Marker = "xml-c14n11";
inline constexpr std::string_view kXPathMarker = "REC-xpath";
inline constexpr std::string_view kXPathFilter2Marker = "2002/06/xmldsig-filter2";
inline constexpr std::string_view kXPointerMarker = "xmldsig-more/xptr";
inline constexpr std::string_view kBase64Marker = "xmldsig#base64";
inline constexpr std::string_view kXsltMarker = "REC-xslt";
inline constexpr std::string_view kRelationshipTransformMarker = "package/2006/RelationshipTransform";

} // namespace algorithm_uri
