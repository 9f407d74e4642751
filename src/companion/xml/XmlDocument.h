#pragma once

#include "companion/text/SharedText.h"
#include "companion/xml/XmlDtd.h"
#include "companion/xml/XmlToken.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <vector>

class BackgroundPopulation;
class XmlIdIndex;
class XmlScanner;

enum class XmlNodeKind : uint8_t { Element, Text, CData, Comment, ProcessingInstruction };
inline constexpr uint32_t kNoNode = UINT32_MAX;

// A parsed document: a compact tree over the source text, which it keeps.
// Nodes are stored in document order, so a node's first child is the node
// after it, and "after X in document order" is "index above X". Names and
// values are (offset, length) references into the text, decoded on demand.
// Character data between child nodes is not stored: it is the text between
// them. Only the text of an entity expanded into markup gets Text nodes, as
// it lives in the DTD's entity texts, not in the document.
class XmlDocument {
public:
    struct Node {
        uint32_t begin;          // '<' of the construct; a Text node's first byte
        uint32_t startEnd;       // just after the start tag (the whole construct for non-elements)
        uint32_t endBegin;       // '<' of the end tag; startEnd for "<a/>"
        uint32_t parent;         // kNoNode for the root
        uint32_t nextSibling;    // kNoNode for the last child
        uint32_t firstAttribute; // this element's attributes run to the next node's firstAttribute
        uint16_t nameLength;
        XmlNodeKind kind;
        uint8_t flags;
    };
    enum NodeFlag : uint8_t {
        kSelfClosing = 1,
        kFromEntity = 2, // expanded from an entity: offsets are those of the entity's text
        kHasReferences = 4,
        kHasCarriageReturn = 8,
    };
    struct Attribute {
        uint32_t nameOffset;
        uint32_t valueOffset;
        uint32_t valueLength;
        uint16_t nameLength;
        uint8_t flags; // XmlAttributeFlag
    };

    XmlDocument(SharedText text, bool autoTrim);
    ~XmlDocument();
    XmlDocument(const XmlDocument&) = delete;
    XmlDocument& operator=(const XmlDocument&) = delete;

    // Parses the text; null with the error message ("XML parse error at line
    // L, column C: reason") when it is not well-formed.
    static std::shared_ptr<XmlDocument> parse(SharedText text, bool autoTrim, std::string& error);

    std::string_view source() const { return m_text.view(); }
    // A reader going through the text front to back has passed `offset`: a
    // mapped document's pages before it are given back (they are mapped again
    // if read), every few megabytes; `releasedTo` keeps where the reader last
    // did. All of them, not only the last stretch, as another reader (the
    // profile markers' search) may have mapped some again.
    void releaseTextBefore(uint32_t offset, uint32_t& releasedTo) const;
    const XmlDtd& dtd() const { return m_dtd; }
    bool autoTrim() const { return m_autoTrim; }
    uint32_t root() const { return 0; }
    uint32_t nodeCount() const { return static_cast<uint32_t>(m_nodes.size()); }
    const Node& node(uint32_t n) const { return m_nodes[n]; }
    bool isElement(uint32_t n) const { return m_nodes[n].kind == XmlNodeKind::Element; }

    std::string_view name(uint32_t n) const;
    static std::string_view localName(std::string_view qualifiedName);
    static std::string_view prefix(std::string_view qualifiedName);

    uint32_t parent(uint32_t n) const { return m_nodes[n].parent; }
    uint32_t firstChild(uint32_t n) const;
    uint32_t nextSibling(uint32_t n) const { return m_nodes[n].nextSibling; }
    uint32_t firstChildElement(uint32_t n) const;
    uint32_t nextSiblingElement(uint32_t n) const;

    std::span<const Attribute> attributes(uint32_t element) const {
        const uint32_t first = m_nodes[element].firstAttribute;
        const uint32_t last = element + 1 < m_nodes.size() ? m_nodes[element + 1].firstAttribute
                                                           : static_cast<uint32_t>(m_attributes.size());
        return std::span<const Attribute>(m_attributes.data() + first, last - first);
    }
    std::string_view attributeName(const Attribute& a) const;
    void appendAttributeValue(const Attribute& a, std::string& out) const;
    // The first attribute whose name matches the pattern ("*:Id" for any prefix).
    const Attribute* findAttribute(uint32_t element, std::string_view namePattern) const;

    // The element's own character data and CDATA sections, decoded.
    void appendContent(uint32_t element, std::string& out) const;

    // The namespace URI bound to the prefix ("" for the default namespace)
    // where the element stands; false when none is.
    bool namespaceUri(uint32_t element, std::string_view prefix, std::string& uri) const;
    // The element's own declaration of the prefix ("" for the default
    // namespace), or null.
    const Attribute* namespaceDeclaration(uint32_t element, std::string_view prefix) const;

    // Document offsets of the element's tags. An element expanded from an
    // entity reports the reference: start tag = the reference, end tag empty
    // after it.
    uint32_t startTagBegin(uint32_t element) const;
    uint32_t startTagEnd(uint32_t element) const;
    uint32_t endTagBegin(uint32_t element) const;
    uint32_t endTagEnd(uint32_t element) const;

    // True when the tree holds everything a token stream of the text would:
    // no DOCTYPE (so no entity expansions and no defaulted attributes).
    bool isReplayable() const { return m_replayable; }
    // The comments and processing instructions before and after the root
    // element, kept beside the tree (they have no parent in it), so that a
    // prolog such as an xml-stylesheet instruction does not make the text be
    // scanned again.
    std::span<const Node> prolog() const { return {m_outsideRoot.data(), m_prologSize}; }
    std::span<const Node> epilog() const { return std::span<const Node>(m_outsideRoot).subspan(m_prologSize); }
    // Replayable, not empty, and parsed from exactly this text (same bytes
    // in the same place): a reader of the text may read the tree instead.
    bool canStandFor(std::string_view text) const {
        return m_replayable && !m_nodes.empty() && source().data() == text.data() && source().size() == text.size();
    }
    // The elements that may be signatures, by name only (whether the namespace
    // is XML-DSig's is for the caller): those named Signature and the parents
    // of those named SignedInfo, any prefix, in document order. Noted while
    // the tree is built, so that looking for signatures visits no other node.
    std::span<const uint32_t> signatureCandidates() const { return m_signatureCandidates; }
    // The element whose start tag begins at the offset, or kNoNode.
    uint32_t elementAt(uint32_t offset) const;
    // The first node after n's subtree in document order (nodeCount() at the end).
    uint32_t subtreeEnd(uint32_t n) const;
    // The elements by id value, built on first use (safe from several threads).
    const XmlIdIndex& idIndex() const;

    // Calls visit(child, text) for each part of an element's content in order:
    // a child node (text empty), or a run of raw character data (child kNoNode).
    template <class Visitor> void forEachContent(uint32_t element, Visitor&& visit) const;

private:
    struct EntityOrigin {
        uint32_t node;
        XmlSpan reference;
    };
    struct OpenElement {
        uint32_t node;
        uint32_t lastChild;
    };

    bool build(XmlScanner& scanner);
    uint32_t addNode(const XmlScanner& scanner, std::vector<OpenElement>& open, XmlNodeKind kind, uint32_t begin,
                     uint32_t end, uint8_t flags);
    void addAttributes(std::span<const XmlAttribute> attributes);
    void addOutsideRoot(const XmlToken& t, XmlNodeKind kind);
    void populateNodesAhead(BackgroundPopulation& pages, size_t lessThanCount);
    void noteSignatureCandidate(uint32_t element, std::string_view qualifiedName);
    XmlSpan origin(uint32_t n) const;
    // The document bytes a child occupies, for finding the text around it.
    uint32_t documentBegin(uint32_t n) const;
    uint32_t documentEnd(uint32_t n) const;
    // A source element's end tag, which may hold whitespace before '>'.
    uint32_t sourceEndTagEnd(uint32_t element) const;

    SharedText m_text;
    XmlDtd m_dtd;
    std::vector<Node> m_nodes;
    std::vector<Attribute> m_attributes;
    std::vector<EntityOrigin> m_origins;
    std::vector<uint32_t> m_signatureCandidates;
    std::vector<Node> m_outsideRoot; // the prolog's, then the epilog's
    size_t m_prologSize = 0;
    bool m_autoTrim;
    bool m_replayable = true;
    mutable std::once_flag m_idIndexBuilt;
    mutable std::unique_ptr<const XmlIdIndex> m_idIndex;
};

template <class Visitor> void XmlDocument::forEachContent(uint32_t element, Visitor&& visit) const {
    const Node& e = m_nodes[element];
    // An expanded entity's text is held in Text nodes; a document element's
    // text is what lies between its children.
    const bool textBetween = !(e.flags & kFromEntity);
    const std::string_view text = source();
    uint32_t pos = e.startEnd;
    for (uint32_t c = firstChild(element); c != kNoNode; c = m_nodes[c].nextSibling) {
        if (textBetween) {
            const uint32_t begin = documentBegin(c);
            if (begin > pos)
                visit(kNoNode, text.substr(pos, begin - pos));
            pos = std::max(pos, documentEnd(c));
        }
        visit(c, std::string_view{});
    }
    if (textBetween && e.endBegin > pos)
        visit(kNoNode, text.substr(pos, e.endBegin - pos));
}

// Inline: a replay of the tree asks for every end tag.
inline uint32_t XmlDocument::endTagEnd(uint32_t element) const {
    if (m_nodes[element].flags & kFromEntity)
        return origin(element).end();
    return sourceEndTagEnd(element);
}

inline uint32_t XmlDocument::sourceEndTagEnd(uint32_t element) const {
    const Node& node = m_nodes[element];
    if (node.flags & kSelfClosing)
        return node.startEnd;
    const std::string_view text = source();
    // "</" name, optional whitespace, '>'
    size_t p = node.endBegin + 2 + node.nameLength;
    while (p < text.size() && text[p] != '>')
        ++p;
    return static_cast<uint32_t>(p + 1);
}
