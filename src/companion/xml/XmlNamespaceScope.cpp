#include "companion/xml/XmlNamespaceScope.h"

#include "companion/xml/XmlTextDecoder.h"

#include <algorithm>

namespace {

constexpr std::string_view kXmlPrefix = "xml";
constexpr std::string_view kXmlNamespace = "http://www.w3.org/XML/1998/namespace";
constexpr std::string_view kXmlnsNamespace = "http://www.w3.org/2000/xmlns/";

std::string quoted(std::string_view s) {
    std::string out(1, '\'');
    out.append(s);
    out.push_back('\'');
    return out;
}

// "p" of "p:local", empty for a name without a colon.
std::string_view prefixOf(std::string_view qname) {
    const size_t colon = qname.find(':');
    return colon == std::string_view::npos ? std::string_view{} : qname.substr(0, colon);
}

} // namespace

XmlNamespaceScope::XmlNamespaceScope(const XmlDtd& dtd) : m_dtd(dtd) {
}

bool XmlNamespaceScope::fail(const XmlAttribute* attribute, std::string reason) {
    m_fault = Fault{attribute, std::move(reason)};
    return false;
}

bool XmlNamespaceScope::check(std::string_view elementName, std::span<const XmlAttribute> attributes, uint32_t depth) {
    if (hasPrefix(elementName, kXmlnsPrefix))
        return fail(nullptr, "element name " + quoted(elementName) + " has the reserved prefix xmlns");
    size_t prefixed = 0;
    for (const XmlAttribute& a : attributes) {
        const std::string_view qname = m_dtd.slice(a.name);
        if (isDeclaration(a)) {
            const std::string_view prefix =
                qname == kXmlnsPrefix ? std::string_view{} : qname.substr(kXmlnsPrefix.size() + 1);
            if (!declare(qname, prefix, a, depth))
                return false;
        } else if (qname.find(':') != std::string_view::npos) {
            ++prefixed;
        }
    }
    // Names as written are already unique, so only two prefixed names can
    // turn out to be one.
    return prefixed < 2 || expandedNamesUnique(attributes);
}

bool XmlNamespaceScope::declare(std::string_view qname, std::string_view prefix, const XmlAttribute& attribute,
                                uint32_t depth) {
    Binding binding{prefix, {}, {}, false, depth};
    const std::string_view raw = m_dtd.slice(attribute.value);
    if (attribute.flags & kAttrNeedsDecoding) {
        XmlTextDecoder::appendAttribute(raw, m_dtd, (attribute.flags & kAttrTokenized) != 0, binding.decoded);
        binding.isDecoded = true;
    } else {
        binding.raw = raw;
    }
    if (std::string reason = declarationFault(qname, prefix, binding.uri()); !reason.empty())
        return fail(&attribute, std::move(reason));
    bind(std::move(binding));
    return true;
}

// The prefix xml is bound to its namespace and no other prefix is; the
// prefix xmlns and its namespace are never declared.
std::string XmlNamespaceScope::declarationFault(std::string_view qname, std::string_view prefix,
                                                std::string_view uri) const {
    if (prefix.empty() && qname.size() > kXmlnsPrefix.size())
        return "namespace declaration " + quoted(qname) + " names no prefix";
    if (prefix == kXmlnsPrefix)
        return "the prefix xmlns cannot be declared";
    if (uri == kXmlnsNamespace)
        return "the namespace " + std::string(kXmlnsNamespace) + " cannot be declared";
    if (prefix == kXmlPrefix && uri != kXmlNamespace)
        return "the prefix xml cannot be bound to " + quoted(uri);
    if (prefix != kXmlPrefix && uri == kXmlNamespace)
        return prefix.empty() ? "the XML namespace cannot be the default namespace"
                              : "the XML namespace cannot be bound to the prefix " + std::string(prefix);
    if (!prefix.empty() && uri.empty())
        return "the prefix " + std::string(prefix) + " cannot be bound to an empty namespace name in XML 1.0";
    return {};
}

void XmlNamespaceScope::bind(Binding binding) {
    m_innermostDepth = binding.depth;
    m_bindings.push(std::move(binding));
}

void XmlNamespaceScope::unbindBelow(uint32_t depth) {
    const std::span<const Binding> bindings = m_bindings.items();
    size_t kept = bindings.size();
    while (kept > 0 && bindings[kept - 1].depth > depth)
        --kept;
    m_innermostDepth = kept == 0 ? 0 : bindings[kept - 1].depth;
    m_bindings.truncate(kept);
}

bool XmlNamespaceScope::resolve(std::string_view prefix, std::string_view& uri) const {
    if (prefix == kXmlPrefix) {
        uri = kXmlNamespace;
        return true;
    }
    const Binding* binding = m_bindings.find(prefix);
    if (!binding)
        return false;
    uri = binding->uri();
    return !uri.empty();
}

bool XmlNamespaceScope::expandedNamesUnique(std::span<const XmlAttribute> attributes) {
    m_names.clear();
    for (const XmlAttribute& a : attributes) {
        const std::string_view qname = m_dtd.slice(a.name);
        const std::string_view prefix = prefixOf(qname);
        std::string_view uri;
        // An unbound prefix only clashes with itself, which the names as
        // written already rule out.
        if (!prefix.empty() && prefix != kXmlnsPrefix && resolve(prefix, uri))
            m_names.push_back(ExpandedName{uri, qname.substr(prefix.size() + 1), &a});
    }
    std::stable_sort(m_names.begin(), m_names.end(), [](const ExpandedName& x, const ExpandedName& y) {
        return x.uri != y.uri ? x.uri < y.uri : x.localName < y.localName;
    });
    const auto same = std::adjacent_find(m_names.begin(), m_names.end(), [](const auto& x, const auto& y) {
        return x.uri == y.uri && x.localName == y.localName;
    });
    if (same == m_names.end())
        return true;
    const XmlAttribute* first = same->attribute;
    const XmlAttribute* second = std::next(same)->attribute;
    return fail(second, "attributes " + quoted(m_dtd.slice(first->name)) + " and " + quoted(m_dtd.slice(second->name)) +
                            " have the same namespace and local name");
}
