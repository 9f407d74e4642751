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
            const bool byName = isIdName(doc.attributeName(a));
            if (!byName && !(a.flags & kAttrDeclaredId))
                continue;
            value.clear();
            doc.appendAttributeValue(a, value);
            Carriers& c = m_carriers.try_emplace(value, Carriers{{}, kNoNode}).first->second;
            // Id="x" and wsu:Id="x" on one element name one element.
            if (c.elements.empty() || c.elements.back() != n)
                c.elements.push_back(n);
            if (byName && c.firstByName == kNoNode)
                c.firstByName = n;
        }
    }
}

uint32_t XmlIdIndex::find(std::string_view id) const {
    const auto it = m_carriers.find(id);
    return it == m_carriers.end() ? kNoNode : it->second.firstByName;
}

std::span<const uint32_t> XmlIdIndex::elementsWith(std::string_view id) const {
    const auto it = m_carriers.find(id);
    return it == m_carriers.end() ? std::span<const uint32_t>{} : std::span<const uint32_t>(it->second.elements);
}
