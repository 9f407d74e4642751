#include "companion/canon/NodeSetCanon.h"

#include "companion/canon/CanonEscape.h"
#include "companion/xml/XmlDocument.h"
#include "companion/xpath/XPathTree.h"

#include <algorithm>

namespace {

constexpr std::string_view kXmlNamespace = "http://www.w3.org/XML/1998/namespace";
// Raw text is always decoded: the tree does not keep the scanner's flags.
constexpr uint8_t kDecodeText = kTextHasReferences | kTextHasCarriageReturn;

} // namespace

void NodeSetCanon::run(std::string& out) {
    m_out = &out;
    m_outputAncestors.clear();
    visit(0);
}

void NodeSetCanon::visit(uint32_t node) {
    switch (m_tree.kind(node)) {
    case XPathNodeKind::Root: {
        // Comments and processing instructions around the document element
        // stand on lines of their own.
        bool afterElement = false;
        for (uint32_t c = m_tree.firstChild(node); c != kNoXPathNode; c = m_tree.node(c).nextSibling) {
            if (m_tree.kind(c) == XPathNodeKind::Element) {
                visit(c);
                afterElement = true;
                continue;
            }
            const size_t before = m_out->size();
            if (afterElement)
                m_out->push_back('\n');
            const size_t written = m_out->size();
            visit(c);
            if (m_out->size() == written)
                m_out->resize(before);
            else if (!afterElement)
                m_out->push_back('\n');
        }
        return;
    }
    case XPathNodeKind::Element:
        visitElement(node);
        return;
    case XPathNodeKind::Text:
        if (in(node))
            writeText(node);
        return;
    case XPathNodeKind::Comment:
        if (in(node) && m_options.withComments) {
            m_out->append("<!--");
            canon_escape::appendMarkupText(*m_out, m_tree.markupText(node));
            m_out->append("-->");
        }
        return;
    case XPathNodeKind::ProcessingInstruction:
        if (in(node)) {
            m_out->append("<?").append(m_tree.localName(node));
            const std::string_view data = m_tree.markupText(node);
            if (!data.empty()) {
                m_out->push_back(' ');
                canon_escape::appendMarkupText(*m_out, data);
            }
            m_out->append("?>");
        }
        return;
    case XPathNodeKind::Attribute:
    case XPathNodeKind::Namespace:
        return;
    }
}

void NodeSetCanon::visitElement(uint32_t element) {
    const bool written = in(element);
    const std::string_view qname = m_tree.qualifiedName(element);
    if (written) {
        m_out->push_back('<');
        m_out->append(qname);
        writeNamespaces(element, false);
        writeAttributes(element, false);
        m_out->push_back('>');
        m_outputAncestors.push_back(element);
    } else {
        // Namespace and attribute nodes of an element left out are still
        // written where they stand.
        writeNamespaces(element, true);
        writeAttributes(element, true);
    }
    for (uint32_t c = m_tree.firstChild(element); c != kNoXPathNode; c = m_tree.node(c).nextSibling)
        visit(c);
    if (written) {
        m_out->append("</").append(qname).push_back('>');
        m_outputAncestors.pop_back();
    }
}

// A namespace node is written unless the nearest written ancestor (in
// exclusive mode: the nearest that uses the prefix, unless the prefix is
// listed to be handled inclusively) has the same one in the set.
std::string_view NodeSetCanon::inheritedUri(std::string_view prefix) const {
    const bool inclusiveRule = !m_options.exclusive || isListed(prefix);
    for (auto it = m_outputAncestors.rbegin(); it != m_outputAncestors.rend(); ++it) {
        const uint32_t ancestor = *it;
        if (!inclusiveRule && !isUtilized(ancestor, prefix))
            continue;
        const uint32_t first = m_tree.firstNamespace(ancestor);
        for (uint32_t ns = first; ns < first + m_tree.node(ancestor).namespaceCount; ++ns)
            if (in(ns) && m_tree.binding(ns).prefix == prefix)
                return m_tree.binding(ns).uri;
        return {};
    }
    return {};
}

bool NodeSetCanon::isListed(std::string_view prefix) const {
    const auto& list = m_options.inclusivePrefixes;
    return std::find(list.begin(), list.end(), prefix) != list.end();
}

bool NodeSetCanon::isUtilized(uint32_t element, std::string_view prefix) const {
    if (XmlDocument::prefix(m_tree.qualifiedName(element)) == prefix)
        return true;
    if (prefix.empty())
        return false;
    const uint32_t first = m_tree.firstAttribute(element);
    for (uint32_t a = first; a < first + m_tree.node(element).attributeCount; ++a)
        if (in(a) && XmlDocument::prefix(m_tree.qualifiedName(a)) == prefix)
            return true;
    return false;
}

void NodeSetCanon::writeNamespaces(uint32_t element, bool orphan) {
    std::vector<Rendered> emit;
    bool defaultInSet = false;
    const uint32_t first = m_tree.firstNamespace(element);
    for (uint32_t ns = first; ns < first + m_tree.node(element).namespaceCount; ++ns) {
        const XPathTree::Binding& b = m_tree.binding(ns);
        if (!in(ns) || b.uri == kXmlNamespace)
            continue;
        if (b.prefix.empty())
            defaultInSet = true;
        // Exclusive mode writes the prefixes an element uses, and those listed
        // to be handled inclusively, also where their element is left out.
        if (m_options.exclusive && !isListed(b.prefix) && (orphan || !isUtilized(element, b.prefix)))
            continue;
        if (inheritedUri(b.prefix) != b.uri)
            emit.push_back(Rendered{b.prefix, b.uri});
    }
    // An element that leaves the default namespace of its output ancestor
    // says so, in exclusive mode only when it uses the default namespace.
    const bool needsUndeclare = !orphan && !defaultInSet && !inheritedUri("").empty() &&
                                (!m_options.exclusive || isListed("") || isUtilized(element, ""));
    if (needsUndeclare)
        emit.push_back(Rendered{"", ""});
    std::sort(emit.begin(), emit.end(), [](const Rendered& a, const Rendered& b) { return a.prefix < b.prefix; });
    for (const Rendered& r : emit) {
        m_out->append(r.prefix.empty() ? " xmlns" : " xmlns:");
        m_out->append(r.prefix).append("=\"");
        writeAttributeValue(r.uri);
        m_out->push_back('"');
    }
}

// xml:* attributes of all ancestors, nearest first, that the element does not
// set itself: inclusive canonicalization carries them over to an element
// whose parent is left out.
void NodeSetCanon::addInheritedXmlAttributes(uint32_t element, std::vector<Attr>& attrs) const {
    for (uint32_t a = m_tree.parent(element); a != kNoXPathNode && m_tree.kind(a) == XPathNodeKind::Element;
         a = m_tree.parent(a)) {
        const uint32_t first = m_tree.firstAttribute(a);
        for (uint32_t at = first; at < first + m_tree.node(a).attributeCount; ++at) {
            if (m_tree.namespaceUri(at) != kXmlNamespace)
                continue;
            const bool present = std::any_of(attrs.begin(), attrs.end(), [&](const Attr& x) {
                return x.uri == kXmlNamespace && x.local == m_tree.localName(at);
            });
            if (!present)
                attrs.push_back(Attr{kXmlNamespace, m_tree.localName(at), at});
        }
    }
}

void NodeSetCanon::writeAttributes(uint32_t element, bool orphan) {
    std::vector<Attr> attrs;
    const uint32_t first = m_tree.firstAttribute(element);
    for (uint32_t a = first; a < first + m_tree.node(element).attributeCount; ++a)
        if (in(a))
            attrs.push_back(Attr{m_tree.namespaceUri(a), m_tree.localName(a), a});
    const uint32_t parent = m_tree.parent(element);
    if (!orphan && !m_options.exclusive && parent != kNoXPathNode && !in(parent))
        addInheritedXmlAttributes(element, attrs);
    std::sort(attrs.begin(), attrs.end(),
              [](const Attr& a, const Attr& b) { return a.uri != b.uri ? a.uri < b.uri : a.local < b.local; });
    const XmlDtd& dtd = m_tree.document().dtd();
    for (const Attr& a : attrs) {
        m_out->push_back(' ');
        m_out->append(m_tree.qualifiedName(a.node)).append("=\"");
        uint8_t flags = 0;
        const std::string_view raw = m_tree.rawAttributeValue(a.node, flags);
        canon_escape::appendAttributeValue(*m_out, raw, flags, dtd, m_scratch);
        m_out->push_back('"');
    }
}

void NodeSetCanon::writeAttributeValue(std::string_view decoded) {
    canon_escape::appendAttributeValue(*m_out, decoded, 0, m_tree.document().dtd(), m_scratch);
}

void NodeSetCanon::writeText(uint32_t text) {
    const XmlDtd& dtd = m_tree.document().dtd();
    for (const XPathTree::TextPiece& p : m_tree.pieces(text)) {
        const std::string_view raw = dtd.slice(p.span);
        switch (p.kind) {
        case XPathTree::TextPiece::Kind::Raw:
            canon_escape::appendText(*m_out, raw, kDecodeText, false, dtd);
            break;
        case XPathTree::TextPiece::Kind::CData:
            canon_escape::appendCData(*m_out, raw, false);
            break;
        case XPathTree::TextPiece::Kind::EntityText:
            canon_escape::appendText(*m_out, raw, kDecodeText, true, dtd);
            break;
        }
    }
}
