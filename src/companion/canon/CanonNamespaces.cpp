#include "companion/canon/CanonNamespaces.h"

#include "companion/canon/CanonEscape.h"
#include "companion/xml/XmlDtd.h"
#include "companion/xml/XmlTextDecoder.h"

#include <algorithm>

void CanonNamespaces::dropDeclarations(const Level& level) {
    m_bindings.truncate(level.bindings);
    m_decoded.resize(level.decodedBytes);
    m_declarations.resize(level.declarationBytes);
}

void CanonNamespaces::declare(std::string_view prefix, const XmlAttribute& declaration) {
    Binding binding{prefix, declaration.value, {}, false};
    if (declaration.flags & kAttrNeedsDecoding) {
        m_scratch.clear();
        XmlTextDecoder::appendAttribute(m_dtd.slice(declaration.value), m_dtd,
                                        (declaration.flags & kAttrTokenized) != 0, m_scratch);
        binding.value = XmlSpan{static_cast<uint32_t>(m_decoded.size()), static_cast<uint32_t>(m_scratch.size())};
        binding.decoded = true;
        m_decoded.append(m_scratch);
    }
    binding.declaration = writeDeclaration(binding);
    m_bindings.push(binding);
}

XmlSpan CanonNamespaces::writeDeclaration(const Binding& binding) {
    const size_t begin = m_declarations.size();
    m_declarations.append(" xmlns");
    if (!binding.prefix.empty()) {
        m_declarations.push_back(':');
        m_declarations.append(binding.prefix);
    }
    m_declarations.append("=\"");
    canon_escape::appendAttributeValue(m_declarations, uri(binding), 0, m_dtd, m_scratch);
    m_declarations.push_back('"');
    return XmlSpan{static_cast<uint32_t>(begin), static_cast<uint32_t>(m_declarations.size() - begin)};
}

std::string_view CanonNamespaces::uri(const Binding& binding) const {
    if (binding.decoded)
        return std::string_view(m_decoded).substr(binding.value.offset, binding.value.length);
    return binding.value.length == 0 ? std::string_view{} : m_dtd.slice(binding.value);
}

void CanonNamespaces::collectInScope(std::vector<Binding>& out) const {
    // Innermost first, so that the stable sort keeps each prefix's innermost
    // binding ahead of those it shadows.
    const auto first = static_cast<std::ptrdiff_t>(out.size());
    const std::span<const Binding> bindings = m_bindings.items();
    out.insert(out.end(), bindings.rbegin(), bindings.rend());
    const auto byPrefix = [](const Binding& a, const Binding& b) { return a.prefix < b.prefix; };
    std::stable_sort(out.begin() + first, out.end(), byPrefix);
    const auto samePrefix = [](const Binding& a, const Binding& b) { return a.prefix == b.prefix; };
    out.erase(std::unique(out.begin() + first, out.end(), samePrefix), out.end());
}
