#include "companion/xml/XmlIdIndex.h"

#include "companion/xml/XmlDocument.h"

#include <algorithm>
#include <array>

namespace {
constexpr std::array<std::string_view, 3> kIdNames = {"Id", "ID", "id"};
} // namespace

bool XmlIdIndex::isIdName(std::string_view qualifiedName) {
    const std::string_view local = XmlDocument::localName(qualifiedName);
    return std::find(kIdNames.begin(), kIdNames.end(), local) != kIdNames.end();
}

XmlIdIndex::XmlIdIndex(const XmlDocument& doc) {
    std::string value;
    for (uint32_t n = 0; n < doc.nodeCount(); ++n) {
        if (!doc.isElement(n))
            continue;
        for (const XmlDocument::Attribute& a : doc.attributes(n)) {
            if (!(a.flags & kAttrDeclaredId) && !isIdName(doc.attributeName(a)))
                continue;
            value.clear();
            doc.appendAttributeValue(a, value);
            std::vector<uint32_t>& carriers = m_elements[value];
            // Id="x" and wsu:Id="x" on one element name one element.
            if (carriers.empty() || carriers.back() != n)
                carriers.push_back(n);
        }
    }
}

std::span<const uint32_t> XmlIdIndex::elementsWith(std::string_view id) const {
    const auto found = m_elements.find(std::string(id));
    return found == m_elements.end() ? std::span<const uint32_t>{} : std::span<const uint32_t>(found->second);
}
