#include "companion/xml/XmlElementPath.h"

#include "companion/xml/XmlDocument.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

namespace {

// The namespace names of one parent's child elements. A prefix that a child
// does not declare itself is resolved once, where the parent stands, so
// that counting many siblings does not walk the ancestors for each.
class ChildNamespaces {
public:
    ChildNamespaces(const XmlDocument& doc, uint32_t parent) : m_doc(doc), m_parent(parent) {}

    // "" for no namespace; valid until the next call.
    std::string_view of(uint32_t child) {
        const std::string_view prefix = XmlDocument::prefix(m_doc.name(child));
        if (const XmlDocument::Attribute* own = m_doc.namespaceDeclaration(child, prefix)) {
            m_own.clear();
            m_doc.appendAttributeValue(*own, m_own);
            return m_own;
        }
        const auto known = std::find_if(m_inherited.begin(), m_inherited.end(),
                                        [&](const auto& entry) { return entry.first == prefix; });
        if (known != m_inherited.end())
            return known->second;
        std::string uri;
        m_doc.namespaceUri(m_parent, prefix, uri);
        m_inherited.emplace_back(std::string(prefix), std::move(uri));
        return m_inherited.back().second;
    }

private:
    const XmlDocument& m_doc;
    uint32_t m_parent;
    std::vector<std::pair<std::string, std::string>> m_inherited;
    std::string m_own;
};

void appendStep(std::string_view uri, std::string_view localName, std::string& out) {
    if (!uri.empty()) {
        out.push_back('{');
        for (char c : uri) {
            if (c == '%')
                out.append("%25");
            else if (c == '{')
                out.append("%7B");
            else if (c == '}')
                out.append("%7D");
            else
                out.push_back(c);
        }
        out.push_back('}');
    }
    out.append(localName);
}

// The step of an element below the root.
std::string childStep(const XmlDocument& doc, uint32_t element, uint32_t parent) {
    ChildNamespaces namespaces(doc, parent);
    const std::string uri(namespaces.of(element));
    const std::string_view localName = XmlDocument::localName(doc.name(element));
    int position = 0;
    for (uint32_t s = doc.firstChildElement(parent); s != kNoNode && s <= element; s = doc.nextSiblingElement(s))
        position += XmlDocument::localName(doc.name(s)) == localName && namespaces.of(s) == uri;
    std::string step;
    appendStep(uri, localName, step);
    return step + "[" + std::to_string(position) + "]";
}

std::string rootStep(const XmlDocument& doc, uint32_t root) {
    const std::string_view name = doc.name(root);
    std::string uri;
    doc.namespaceUri(root, XmlDocument::prefix(name), uri);
    std::string step;
    appendStep(uri, XmlDocument::localName(name), step);
    return step;
}

} // namespace

std::string xmlElementPath(const XmlDocument& doc, uint32_t element) {
    std::vector<std::string> steps;
    for (uint32_t n = element; n != kNoNode; n = doc.parent(n)) {
        const uint32_t parent = doc.parent(n);
        steps.push_back(parent == kNoNode ? rootStep(doc, n) : childStep(doc, n, parent));
    }
    std::string path;
    for (auto step = steps.rbegin(); step != steps.rend(); ++step)
        path.append("/").append(*step);
    return path;
}
