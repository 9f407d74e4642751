#pragma once

#include "companion/xml/XmlToken.h"

#include <cstdint>
#include <deque>
#include <span>
#include <string>
#include <string_view>
#include <vector>

class XmlDocument;

enum class XPathNodeKind : uint8_t { Root, Element, Text, Comment, ProcessingInstruction, Attribute, Namespace };
inline constexpr uint32_t kNoXPathNode = UINT32_MAX;

// The XPath data model of a parsed document: every node XPath can select,
// numbered in document order (an element, then its namespace nodes, then its
// attributes, then its content), so that a node-set is a sorted list of
// numbers and a subtree is a range of them. Text nodes are the maximal runs
// of character data and CDATA sections.
class XPathTree {
public:
    struct Node {
        uint32_t parent = kNoXPathNode;
        uint32_t end = 0;                    // one past the subtree's last node
        uint32_t nextSibling = kNoXPathNode; // content nodes only
        uint32_t source = 0;                 // the document's node; an attribute's index; a binding
        uint32_t firstPiece = 0;             // text nodes: their pieces
        uint32_t pieceCount = 0;
        uint32_t namespaceCount = 0; // elements: namespace nodes follow the element
        uint32_t attributeCount = 0; // then its attribute nodes
        XPathNodeKind kind = XPathNodeKind::Root;
    };
    // One run of a text node: raw character data, a CDATA section's text, or
    // the text of an entity's replacement.
    struct TextPiece {
        XmlSpan span;
        enum class Kind : uint8_t { Raw, CData, EntityText } kind;
    };
    struct Binding {
        std::string_view prefix; // "" for the default namespace
        std::string_view uri;
    };

    // Builds at most about `maxNodes` nodes: past them, elements are added
    // without their namespaces, attributes and content, and truncated() says
    // the tree is not the document's.
    explicit XPathTree(const XmlDocument& doc, uint64_t maxNodes = UINT64_MAX);
    bool truncated() const { return m_truncated; }

    const XmlDocument& document() const { return m_doc; }
    uint32_t root() const { return 0; }
    uint32_t size() const { return static_cast<uint32_t>(m_nodes.size()); }
    const Node& node(uint32_t n) const { return m_nodes[n]; }
    XPathNodeKind kind(uint32_t n) const { return m_nodes[n].kind; }
    bool isContent(uint32_t n) const {
        const XPathNodeKind k = m_nodes[n].kind;
        return k != XPathNodeKind::Attribute && k != XPathNodeKind::Namespace;
    }
    uint32_t parent(uint32_t n) const { return m_nodes[n].parent; }
    uint32_t firstChild(uint32_t n) const;
    // The element's namespace and attribute nodes are these ranges.
    uint32_t firstNamespace(uint32_t element) const { return element + 1; }
    uint32_t firstAttribute(uint32_t element) const { return element + 1 + m_nodes[element].namespaceCount; }

    // Expanded names: the local part (a namespace node's prefix, a processing
    // instruction's target) and the namespace URI.
    std::string_view localName(uint32_t n) const { return m_localNames[n]; }
    std::string_view namespaceUri(uint32_t n) const { return m_namespaceUris[n]; }
    // The name as written ("p:local"), for name().
    std::string_view qualifiedName(uint32_t n) const;
    const Binding& binding(uint32_t namespaceNode) const { return m_bindings[m_nodes[namespaceNode].source]; }
    std::span<const TextPiece> pieces(uint32_t text) const {
        return {m_pieces.data() + m_nodes[text].firstPiece, m_nodes[text].pieceCount};
    }
    // The raw value of an attribute node and its XmlAttributeFlag bits.
    std::string_view rawAttributeValue(uint32_t attribute, uint8_t& flags) const;
    // A comment's text or a processing instruction's data, raw.
    std::string_view markupText(uint32_t n) const;

    void appendStringValue(uint32_t n, std::string& out) const;
    // The in-scope namespaces of an element, by prefix.
    bool lookupNamespace(uint32_t element, std::string_view prefix, std::string_view& uri) const;
    // The element whose start tag begins at a byte offset of the document.
    uint32_t elementAtOffset(uint32_t offset) const;

private:
    void addElement(uint32_t docElement, uint32_t parent, const std::vector<uint32_t>& outerScope);
    std::vector<uint32_t> elementScope(uint32_t docElement, const std::vector<uint32_t>& outerScope);
    void addOutsideMarkup(uint32_t from, uint32_t to, uint32_t& previous);
    void addOutsideNode(XPathNodeKind kind, size_t begin, size_t end, uint32_t targetLength, uint32_t& previous);
    void addLeaf(uint32_t docNode, uint32_t parent, XPathNodeKind kind, uint32_t& previous);
    uint32_t push(XPathNodeKind kind, uint32_t parent, uint32_t source);
    void link(uint32_t node, uint32_t& previous);
    std::string_view resolve(const std::vector<uint32_t>& scope, std::string_view prefix) const;
    uint32_t declare(std::string_view prefix, std::string_view rawUri, uint8_t flags);
    void appendPieces(uint32_t text, std::string& out) const;

    const XmlDocument& m_doc;
    std::vector<Node> m_nodes;
    std::vector<std::string_view> m_localNames;
    std::vector<std::string_view> m_namespaceUris;
    std::vector<TextPiece> m_pieces;
    std::vector<Binding> m_bindings;
    std::deque<std::string> m_decodedUris; // namespace URIs that held references
    std::vector<uint32_t> m_elementByDocNode;
    uint64_t m_maxNodes;
    bool m_truncated = false;
};
