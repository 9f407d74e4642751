#pragma once

#include <cstdint>
#include <string_view>

// The XML-DSig names by which signatures are recognized in a document.
namespace xml_sig_names {

inline constexpr std::string_view kNamespace = "http://www.w3.org/2000/09/xmldsig#";
inline constexpr std::string_view kSignature = "Signature";
inline constexpr std::string_view kSignedInfo = "SignedInfo";
inline constexpr std::string_view kSignatureValue = "SignatureValue";
inline constexpr std::string_view kReference = "Reference";
inline constexpr std::string_view kObject = "Object";
inline constexpr std::string_view kQualifyingProperties = "QualifyingProperties";
inline constexpr std::string_view kSignedProperties = "SignedProperties";
inline constexpr std::string_view kUnsignedProperties = "UnsignedProperties";
inline constexpr std::string_view kUnsignedSignatureProperties = "UnsignedSignatureProperties";
inline constexpr std::string_view kIdAttribute = "Id";
// The spellings of an Object's Id that a Reference may name.
inline constexpr std::string_view kIdAttributeSpellings[] = {"Id", "ID", "id"};
inline constexpr std::string_view kUriAttribute = "URI";

// The parts of a signature of which only the first counts, one bit each.
enum SeenPart : uint8_t {
    kSeenSignedInfo = 1,
    kSeenSignatureValue = 2,
    kSeenQualifyingProperties = 4,
    kSeenSignedProperties = 8,
    kSeenUnsignedProperties = 16,
    kSeenUnsignedSignatureProperties = 32,
    kSeenFreeObject = 64,
};

// The Id that a same-document reference URI names: "#id", "#xpointer(id('id'))"
// or a bare id; empty for a whole-document or external URI.
std::string_view referencedId(std::string_view uri);

} // namespace xml_sig_names
