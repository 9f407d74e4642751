#pragma once

#include "companion/xml/XmlSigPositions.h"

#include <cstdint>
#include <string>
#include <string_view>

// Where a XAdES SignatureTimeStamp goes in a signature's raw text, and the
// text that goes there: the innermost XAdES element that exists decides
// which enclosing elements the fragment must bring along.
namespace timestamp_fragment {

// The token's place in the fragment, replaced once the token is known.
inline constexpr std::string_view kTokenPlaceholder = "ENCAP_TIMESTAMP_BASE64";

enum class Wrapping : uint8_t {
    None,                 // nowhere to insert
    Stamp,                // into UnsignedSignatureProperties
    SignatureProperties,  // into UnsignedProperties
    UnsignedProperties,   // behind SignedProperties or into QualifyingProperties
    QualifyingProperties, // into an Object
    Object,               // behind the signature's last child
};

struct Placement {
    Wrapping wrapping = Wrapping::None;
    uint32_t offset = 0;
};

// The first applicable case, in the order that prefers the innermost
// existing element.
Placement place(const XmlSigPositions& at, std::string_view xml);

struct Names {
    std::string_view signaturePrefix; // "ds", or empty without a prefix
    bool signatureDeclaresXades = false;
    std::string_view signatureId; // may be empty
    std::string_view objectId;    // used for Wrapping::Object only
    std::string_view stampId;
};

// The fragment for a placement, with the token placeholder in it.
std::string build(Wrapping wrapping, const Names& names);

} // namespace timestamp_fragment
