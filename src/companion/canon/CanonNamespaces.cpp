#include "companion/canon/CanonNamespaces.h"

#include "companion/xml/XmlDtd.h"
#include "companion/xml/XmlTextDecoder.h"

#include <algorithm>

void CanonNamespaces::openElement() {
    m_levels.push_back(Level{static_cast<uint32_t>(m_bindings.size()), static_cast<uint32_t>(m_rendered.size()),
                             static_cast<uint32_t>(m_decoded.size())});
}

void CanonNamespaces::closeElement() {
    const Level level = m_levels.back();
    m_levels.pop_back();
    m_bindings.resize(level.bindings);
    m_rendered.resize(level.rendered);
    m_decoded.resize(level.decodedBytes);
}

void CanonNamespaces::declare(std::string_view prefix, const XmlAttribute& declaration) {
    if (!(declaration.flags & kAttrNeedsDecoding)) {
        m_bindings.push_back(Binding{prefix, declaration.value, false});
        return;
    }
    m_scratch.clear();
    XmlTextDecoder::appendAttribute(m_dtd.slice(declaration.value), m_dtd, (declaration.flags & kAttrTokenized) != 0,
                                    m_scratch);
    const XmlSpan stored{static_cast<uint32_t>(m_decoded.size()), static_cast<uint32_t>(m_scratch.size())};
    m_decoded.append(m_scratch);
    m_bindings.push_back(Binding{prefix, stored, true});
}

const CanonNamespaces::Binding* CanonNamespaces::find(std::string_view prefix) const {
    for (auto it = m_bindings.rbegin(); it != m_bindings.rend(); ++it)
        if (it->prefix == prefix)
            return &*it;
    return nullptr;
}

std::string_view CanonNamespaces::uri(const Binding& binding) const {
    if (binding.decoded)
        return std::string_view(m_decoded).substr(binding.value.offset, binding.value.length);
    return binding.value.length == 0 ? std::string_view{} : m_dtd.slice(binding.value);
}

std::span<const CanonNamespaces::Binding> CanonNamespaces::declaredHere() const {
    const uint32_t first = m_levels.empty() ? 0 : m_levels.back().bindings;
    return std::span<const Binding>(m_bindings).subspan(first);
}

void CanonNamespaces::collectInScope(std::vector<Binding>& out) const {
    const size_t first = out.size();
    for (auto it = m_bindings.rbegin(); it != m_bindings.rend(); ++it) {
        const bool shadowed = std::any_of(out.begin() + static_cast<std::ptrdiff_t>(first), out.end(),
                                          [&](const Binding& b) { return b.prefix == it->prefix; });
        if (!shadowed)
            out.push_back(*it);
    }
}

bool CanonNamespaces::isRendered(std::string_view prefix, std::string_view uri) const {
    for (auto it = m_rendered.rbegin(); it != m_rendered.rend(); ++it)
        if (it->prefix == prefix)
            return this->uri(*it) == uri;
    return prefix.empty() && uri.empty();
}
