#include "companion/canon/CanonAttribute.h"

#include <algorithm>

namespace canon_attribute_order {

void sortCanonical(std::span<CanonAttribute> attributes) {
    std::sort(attributes.begin(), attributes.end(), [](const CanonAttribute& a, const CanonAttribute& b) {
        if (a.namespaceUri != b.namespaceUri)
            return a.namespaceUri < b.namespaceUri;
        return a.localName < b.localName;
    });
}

void sortAsWritten(std::span<CanonAttribute> attributes) {
    std::sort(attributes.begin(), attributes.end(), [](const CanonAttribute& a, const CanonAttribute& b) {
        if (a.prefix != b.prefix)
            return a.prefix < b.prefix;
        return a.localName < b.localName;
    });
}

} // namespace canon_attribute_order
