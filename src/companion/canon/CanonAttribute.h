#pragma once

#include "companion/xml/XmlToken.h"

#include <cstdint>
#include <span>
#include <string_view>

// Beside the XmlAttributeFlag bits: the value is computed by the pass, not a
// span of the text.
constexpr uint8_t kCanonComputedValue = 0x80;

// One attribute of an output element, with what its ordering needs.
struct CanonAttribute {
    std::string_view qname;
    std::string_view prefix;
    std::string_view localName;
    std::string_view namespaceUri; // empty for an unprefixed attribute
    XmlSpan value;                 // raw, in the scanned text
    uint8_t flags = 0;             // XmlAttributeFlag
};

// An xml:* attribute of an ancestor of a fragment's apex, which inclusive
// modes carry over to the apex.
struct CanonXmlAttributeInScope {
    std::string_view qname;
    std::string_view localName;
    XmlSpan value;
    uint8_t flags;
    uint32_t depth;
};

namespace canon_attribute_order {

// Canonical order: by namespace URI (none first), then by local name.
void sortCanonical(std::span<CanonAttribute> attributes);
// The order of signers that sort by the name as written: by prefix (none
// first), then by local name, whatever the prefixes stand for.
void sortAsWritten(std::span<CanonAttribute> attributes);

} // namespace canon_attribute_order
