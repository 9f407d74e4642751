#include "companion/xml/XmlIdIndex.h"

#include "companion/xml/XmlDocument.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr std::string_view kIdNames[] = {"Id", "ID", "id"};

bool isIdName(std::string_view localName) {
    return std::find(std::begin(kIdNames), std::end(kIdNames), localName) != std::end(kIdNames);
}

} // namespace

XmlIdIndex::XmlIdIndex(const XmlDocument& doc) {
    std::string value;
    for (uint32_t n = 0; n < doc.nodeCount(); ++n) {
        if (!doc.isElement(n))
            continue;
        for (const XmlDocument::Attribute& a : doc.attributes(n)) {
            if (!isIdName(XmlDocument::localName(doc.attributeName(a))))
                continue;
            value.clear();
            doc.appendAttributeValue(a, value);
            // Nodes are visited in document order: the first one stays.
            m_first.try_emplace(value, n);
        }
    }
}

uint32_t XmlIdIndex::find(std::string_view id) const {
    const auto it = m_first.find(id);
    return it == m_first.end() ? kNoNode : it->second;
}
