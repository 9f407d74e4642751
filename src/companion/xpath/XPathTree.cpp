#include "companion/xpath/XPathTree.h"

#include "companion/xml/XmlDocument.h"
#include "companion/xml/XmlMarkup.h"
#include "companion/xml/XmlTextDecoder.h"

#include <algorithm>

namespace {

constexpr std::string_view kXmlPrefix = "xml";
constexpr std::string_view kXmlNamespace = "http://www.w3.org/XML/1998/namespace";
constexpr std::string_view kXmlns = "xmlns";
constexpr uint32_t kXmlBinding = 0;
// The source of a comment or processing instruction outside the document element.
constexpr uint32_t kOutsideDocumentElement = UINT32_MAX;

bool isDeclaration(std::string_view name, std::string_view& prefix) {
    if (name == kXmlns) {
        prefix = {};
        return true;
    }
    if (name.size() > kXmlns.size() && name.starts_with(kXmlns) && name[kXmlns.size()] == ':') {
        prefix = name.substr(kXmlns.size() + 1);
        return true;
    }
    return false;
}

} // namespace

XPathTree::XPathTree(const XmlDocument& doc, uint64_t maxNodes)
    : m_doc(doc), m_elementByDocNode(doc.nodeCount(), kNoXPathNode), m_maxNodes(maxNodes) {
    m_bindings.push_back(Binding{kXmlPrefix, kXmlNamespace});
    push(XPathNodeKind::Root, kNoXPathNode, 0);
    if (doc.nodeCount() > 0) {
        uint32_t previous = kNoXPathNode;
        addOutsideMarkup(0, doc.startTagBegin(doc.root()), previous);
        const uint32_t element = size();
        addElement(doc.root(), 0, std::vector<uint32_t>{kXmlBinding});
        link(element, previous);
        addOutsideMarkup(doc.endTagEnd(doc.root()), static_cast<uint32_t>(doc.source().size()), previous);
    }
    m_nodes[0].end = size();
}

// The parsed document keeps only the document element; the comments and
// processing instructions around it are read from the text.
void XPathTree::addOutsideMarkup(uint32_t from, uint32_t to, uint32_t& previous) {
    const std::string_view text = m_doc.source().substr(0, to);
    size_t pos = text.find('<', from);
    while (pos != std::string_view::npos) {
        const std::string_view rest = text.substr(pos);
        size_t end = std::string_view::npos;
        if (rest.starts_with(xml_markup::kCommentOpen)) {
            end = text.find(xml_markup::kCommentClose, pos);
            end = end == std::string_view::npos ? end : end + xml_markup::kCommentClose.size();
            if (end != std::string_view::npos)
                addOutsideNode(XPathNodeKind::Comment, pos, end, 0, previous);
        } else if (rest.starts_with(xml_markup::kPiOpen)) {
            end = text.find("?>", pos);
            end = end == std::string_view::npos ? end : end + 2;
            const size_t targetEnd = rest.find_first_of(" \t\r\n?", xml_markup::kPiOpen.size());
            const size_t targetLength = targetEnd - xml_markup::kPiOpen.size();
            if (end != std::string_view::npos && rest.substr(xml_markup::kPiOpen.size(), targetLength) != "xml")
                addOutsideNode(XPathNodeKind::ProcessingInstruction, pos, end, static_cast<uint32_t>(targetLength),
                               previous);
        } else {
            // A DOCTYPE: its internal subset ends with "]" before the '>'.
            const size_t close = text.find('>', pos);
            const size_t subset = text.find('[', pos);
            end = subset != std::string_view::npos && subset < close ? text.find("]", subset) : close;
            end = end == std::string_view::npos ? end : text.find('>', end);
            end = end == std::string_view::npos ? end : end + 1;
        }
        pos = end == std::string_view::npos ? end : text.find('<', end);
    }
}

void XPathTree::addOutsideNode(XPathNodeKind kind, size_t begin, size_t end, uint32_t targetLength,
                               uint32_t& previous) {
    const uint32_t n = push(kind, 0, kOutsideDocumentElement);
    m_nodes[n].firstPiece = static_cast<uint32_t>(m_pieces.size());
    m_pieces.push_back(
        TextPiece{XmlSpan{static_cast<uint32_t>(begin), static_cast<uint32_t>(end - begin)}, TextPiece::Kind::Raw});
    if (kind == XPathNodeKind::ProcessingInstruction)
        m_localNames[n] = m_doc.source().substr(begin + xml_markup::kPiOpen.size(), targetLength);
    link(n, previous);
}

uint32_t XPathTree::push(XPathNodeKind kind, uint32_t parent, uint32_t source) {
    Node n;
    n.kind = kind;
    n.parent = parent;
    n.source = source;
    m_nodes.push_back(n);
    m_localNames.emplace_back();
    m_namespaceUris.emplace_back();
    const auto id = static_cast<uint32_t>(m_nodes.size() - 1);
    m_nodes[id].end = id + 1;
    return id;
}

void XPathTree::link(uint32_t node, uint32_t& previous) {
    if (previous != kNoXPathNode)
        m_nodes[previous].nextSibling = node;
    previous = node;
}

uint32_t XPathTree::declare(std::string_view prefix, std::string_view rawUri, uint8_t flags) {
    std::string_view uri = rawUri;
    if (flags & kAttrNeedsDecoding) {
        std::string decoded;
        XmlTextDecoder::appendAttribute(rawUri, m_doc.dtd(), false, decoded);
        uri = m_decodedUris.emplace_back(std::move(decoded));
    }
    m_bindings.push_back(Binding{prefix, uri});
    return static_cast<uint32_t>(m_bindings.size() - 1);
}

std::string_view XPathTree::resolve(const std::vector<uint32_t>& scope, std::string_view prefix) const {
    for (uint32_t b : scope)
        if (m_bindings[b].prefix == prefix)
            return m_bindings[b].uri;
    return {};
}

void XPathTree::addElement(uint32_t docElement, uint32_t parent, const std::vector<uint32_t>& outerScope) {
    const uint32_t id = push(XPathNodeKind::Element, parent, docElement);
    m_elementByDocNode[docElement] = id;
    const std::string_view qname = m_doc.name(docElement);

    const auto attributes = m_doc.attributes(docElement);
    const std::vector<uint32_t> scope = elementScope(docElement, outerScope);
    m_localNames[id] = XmlDocument::localName(qname);
    m_namespaceUris[id] = resolve(scope, XmlDocument::prefix(qname));
    if (m_truncated || size() + scope.size() + attributes.size() > m_maxNodes) {
        m_truncated = true;
        return;
    }

    for (uint32_t b : scope) {
        const uint32_t ns = push(XPathNodeKind::Namespace, id, b);
        m_localNames[ns] = m_bindings[b].prefix;
    }
    m_nodes[id].namespaceCount = static_cast<uint32_t>(scope.size());
    uint32_t attributeCount = 0;
    for (uint32_t i = 0; i < attributes.size(); ++i) {
        const std::string_view name = m_doc.attributeName(attributes[i]);
        std::string_view ignored;
        if (isDeclaration(name, ignored))
            continue;
        const uint32_t at = push(XPathNodeKind::Attribute, id, i);
        m_localNames[at] = XmlDocument::localName(name);
        const std::string_view prefix = XmlDocument::prefix(name);
        if (!prefix.empty())
            m_namespaceUris[at] = resolve(scope, prefix);
        ++attributeCount;
    }
    m_nodes[id].attributeCount = attributeCount;

    // The scope of the children, kept alive while they are added.
    uint32_t previous = kNoXPathNode;
    uint32_t openText = kNoXPathNode;
    auto addPiece = [&](XmlSpan span, TextPiece::Kind kind) {
        if (openText == kNoXPathNode) {
            openText = push(XPathNodeKind::Text, id, 0);
            m_nodes[openText].firstPiece = static_cast<uint32_t>(m_pieces.size());
            link(openText, previous);
        }
        m_pieces.push_back(TextPiece{span, kind});
        ++m_nodes[openText].pieceCount;
    };
    const std::string_view source = m_doc.source();
    m_doc.forEachContent(docElement, [&](uint32_t child, std::string_view text) {
        if (child == kNoNode) {
            addPiece(XmlSpan{static_cast<uint32_t>(text.data() - source.data()), static_cast<uint32_t>(text.size())},
                     TextPiece::Kind::Raw);
            return;
        }
        const XmlDocument::Node& n = m_doc.node(child);
        switch (n.kind) {
        case XmlNodeKind::CData: {
            const auto open = static_cast<uint32_t>(xml_markup::kCDataOpen.size());
            const auto close = static_cast<uint32_t>(xml_markup::kCDataClose.size());
            addPiece(XmlSpan{n.begin + open, n.startEnd - n.begin - open - close}, TextPiece::Kind::CData);
            return;
        }
        case XmlNodeKind::Text:
            addPiece(XmlSpan{n.begin, n.startEnd - n.begin}, TextPiece::Kind::EntityText);
            return;
        case XmlNodeKind::Element: {
            openText = kNoXPathNode;
            const auto childId = size();
            addElement(child, id, scope);
            link(childId, previous);
            return;
        }
        case XmlNodeKind::Comment:
            openText = kNoXPathNode;
            link(push(XPathNodeKind::Comment, id, child), previous);
            return;
        case XmlNodeKind::ProcessingInstruction: {
            openText = kNoXPathNode;
            const uint32_t pi = push(XPathNodeKind::ProcessingInstruction, id, child);
            m_localNames[pi] = m_doc.name(child);
            link(pi, previous);
            return;
        }
        }
    });
    m_nodes[id].end = size();
}

// A declaration replaces the outer binding of its prefix; xmlns="" only
// removes the default namespace.
std::vector<uint32_t> XPathTree::elementScope(uint32_t docElement, const std::vector<uint32_t>& outerScope) {
    std::vector<uint32_t> declared;
    std::vector<std::string_view> replaced;
    for (const XmlDocument::Attribute& a : m_doc.attributes(docElement)) {
        std::string_view prefix;
        if (!isDeclaration(m_doc.attributeName(a), prefix))
            continue;
        replaced.push_back(prefix);
        if (!(prefix.empty() && a.valueLength == 0))
            declared.push_back(declare(prefix, m_doc.dtd().slice(XmlSpan{a.valueOffset, a.valueLength}), a.flags));
    }
    if (replaced.empty())
        return outerScope;
    // Sorted, so that thousands of declarations on one element are not each
    // compared with every binding in scope.
    std::sort(replaced.begin(), replaced.end());
    std::vector<uint32_t> scope;
    scope.reserve(outerScope.size() + declared.size());
    for (uint32_t b : outerScope)
        if (!std::binary_search(replaced.begin(), replaced.end(), m_bindings[b].prefix))
            scope.push_back(b);
    scope.insert(scope.end(), declared.begin(), declared.end());
    return scope;
}

uint32_t XPathTree::firstChild(uint32_t n) const {
    const Node& node = m_nodes[n];
    if (node.kind == XPathNodeKind::Root)
        return node.end > 1 ? 1 : kNoXPathNode;
    if (node.kind != XPathNodeKind::Element)
        return kNoXPathNode;
    const uint32_t first = n + 1 + node.namespaceCount + node.attributeCount;
    return first < node.end ? first : kNoXPathNode;
}

std::string_view XPathTree::qualifiedName(uint32_t n) const {
    switch (m_nodes[n].kind) {
    case XPathNodeKind::Element:
        return m_doc.name(m_nodes[n].source);
    case XPathNodeKind::Attribute:
        return m_doc.attributeName(m_doc.attributes(m_nodes[m_nodes[n].parent].source)[m_nodes[n].source]);
    case XPathNodeKind::Namespace:
    case XPathNodeKind::ProcessingInstruction:
        return m_localNames[n];
    default:
        return {};
    }
}

std::string_view XPathTree::rawAttributeValue(uint32_t attribute, uint8_t& flags) const {
    const XmlDocument::Attribute& a =
        m_doc.attributes(m_nodes[m_nodes[attribute].parent].source)[m_nodes[attribute].source];
    flags = a.flags;
    return m_doc.dtd().slice(XmlSpan{a.valueOffset, a.valueLength});
}

std::string_view XPathTree::markupText(uint32_t n) const {
    std::string_view text;
    size_t nameLength = m_localNames[n].size();
    if (m_nodes[n].source == kOutsideDocumentElement) {
        text = m_doc.dtd().slice(m_pieces[m_nodes[n].firstPiece].span);
    } else {
        const XmlDocument::Node& node = m_doc.node(m_nodes[n].source);
        text = m_doc.dtd().slice(XmlSpan{node.begin, node.startEnd - node.begin});
        nameLength = node.nameLength;
    }
    if (m_nodes[n].kind == XPathNodeKind::Comment)
        return text.substr(xml_markup::kCommentOpen.size(),
                           text.size() - xml_markup::kCommentOpen.size() - xml_markup::kCommentClose.size());
    // "<?" target, whitespace, data, "?>"
    std::string_view data = text.substr(xml_markup::kPiOpen.size() + nameLength);
    data.remove_suffix(2);
    const size_t start = data.find_first_not_of(" \t\r\n");
    return start == std::string_view::npos ? std::string_view{} : data.substr(start);
}

void XPathTree::appendPieces(uint32_t text, std::string& out) const {
    for (const TextPiece& p : pieces(text)) {
        const std::string_view raw = m_doc.dtd().slice(p.span);
        if (p.kind == TextPiece::Kind::CData)
            XmlTextDecoder::appendCData(raw, out);
        else
            XmlTextDecoder::appendContent(raw, m_doc.dtd(), out);
    }
}

void XPathTree::appendStringValue(uint32_t n, std::string& out) const {
    const Node& node = m_nodes[n];
    switch (node.kind) {
    case XPathNodeKind::Root:
    case XPathNodeKind::Element:
        for (uint32_t d = n + 1; d < node.end; ++d)
            if (m_nodes[d].kind == XPathNodeKind::Text)
                appendPieces(d, out);
        return;
    case XPathNodeKind::Text:
        appendPieces(n, out);
        return;
    case XPathNodeKind::Attribute: {
        const XmlDocument::Attribute& a = m_doc.attributes(m_nodes[node.parent].source)[node.source];
        m_doc.appendAttributeValue(a, out);
        return;
    }
    case XPathNodeKind::Namespace:
        out.append(m_bindings[node.source].uri);
        return;
    case XPathNodeKind::Comment:
    case XPathNodeKind::ProcessingInstruction:
        out.append(markupText(n));
        return;
    }
}

bool XPathTree::lookupNamespace(uint32_t element, std::string_view prefix, std::string_view& uri) const {
    const uint32_t first = firstNamespace(element);
    for (uint32_t ns = first; ns < first + m_nodes[element].namespaceCount; ++ns)
        if (m_localNames[ns] == prefix) {
            uri = binding(ns).uri;
            return true;
        }
    return false;
}

uint32_t XPathTree::elementAtOffset(uint32_t offset) const {
    const uint32_t docNode = m_doc.elementAt(offset);
    return docNode == kNoNode ? kNoXPathNode : m_elementByDocNode[docNode];
}
