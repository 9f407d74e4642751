#pragma once

#include "companion/xml/PrefixStack.h"
#include "companion/xml/XmlDtd.h"
#include "companion/xml/XmlToken.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// The namespace declarations in scope where a scanner stands, kept to hold
// each start tag to Namespaces in XML: the prefixes xml and xmlns and their
// namespace names are reserved, a prefix is not bound to the empty name (an
// XML 1.1 undeclaration: every document is read as XML 1.0), and no two
// attributes of an element share a namespace and a local name. The
// bindings of an element go when it closes. A prefix finds its binding in
// one lookup, however many are in scope.
class XmlNamespaceScope {
public:
    // What a start tag broke: the attribute at fault (null for the element's
    // own name) and why.
    struct Fault {
        const XmlAttribute* attribute = nullptr;
        std::string reason;
    };

    explicit XmlNamespaceScope(const XmlDtd& dtd);

    // Checks an element that opens at `depth` (1 for the root) with these
    // attributes (defaults included), and binds its declarations; false with
    // fault() when it breaks a rule. Most elements have no declaration and
    // at most one attribute, which leaves nothing to check.
    bool enter(std::string_view elementName, std::span<const XmlAttribute> attributes, uint32_t depth) {
        const bool plain = !hasPrefix(elementName, kXmlnsPrefix) &&
                           (attributes.empty() || (attributes.size() == 1 && !isDeclaration(attributes[0])));
        return plain || check(elementName, attributes, depth);
    }
    const Fault& fault() const { return m_fault; }
    // Drops the bindings of the elements deeper than `depth`.
    void leave(uint32_t depth) {
        if (depth < m_innermostDepth)
            unbindBelow(depth);
    }

private:
    static constexpr std::string_view kXmlnsPrefix = "xmlns";
    struct Binding {
        std::string_view prefix;
        std::string_view raw; // the value as written, when it needs no decoding
        std::string decoded;
        bool isDecoded = false;
        uint32_t depth = 0;
        std::string_view uri() const { return isDecoded ? std::string_view(decoded) : raw; }
    };
    struct ExpandedName {
        std::string_view uri;
        std::string_view localName;
        const XmlAttribute* attribute;
    };

    // "p:..." for the prefix p.
    static bool hasPrefix(std::string_view qname, std::string_view prefix) {
        return qname.size() > prefix.size() && qname[prefix.size()] == ':' && qname.starts_with(prefix);
    }
    bool isDeclaration(const XmlAttribute& attribute) const {
        const std::string_view name = m_dtd.slice(attribute.name);
        return name == kXmlnsPrefix || hasPrefix(name, kXmlnsPrefix);
    }
    bool check(std::string_view elementName, std::span<const XmlAttribute> attributes, uint32_t depth);
    bool fail(const XmlAttribute* attribute, std::string reason);
    bool declare(std::string_view qname, std::string_view prefix, const XmlAttribute& attribute, uint32_t depth);
    // Why a declaration cannot stand, or empty.
    std::string declarationFault(std::string_view qname, std::string_view prefix, std::string_view uri) const;
    void bind(Binding binding);
    void unbindBelow(uint32_t depth);
    // The namespace name of a prefix, or false when it is not bound.
    bool resolve(std::string_view prefix, std::string_view& uri) const;
    bool expandedNamesUnique(std::span<const XmlAttribute> attributes);

    const XmlDtd& m_dtd;
    PrefixStack<Binding> m_bindings;
    uint32_t m_innermostDepth = 0;     // of the last binding; 0 with none
    std::vector<ExpandedName> m_names; // scratch for the uniqueness check
    Fault m_fault;
};
