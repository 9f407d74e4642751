#pragma once

#include "companion/xml/XmlDocument.h"
#include "companion/xml/XmlTokenSource.h"

#include <cstdint>
#include <string>
#include <vector>

// The tokens a scanner would give for a replayable document (see
// XmlDocument::isReplayable), produced from its tree without reading the
// markup again: no name is scanned and nothing is checked twice. Character
// data between nodes comes as Text tokens flagged for references and line
// ends, which readers of raw text decode anyway.
//
// The whole document is its prolog's comments and processing instructions,
// the root element, then its epilog's. From an apex it replays the start
// tags of the apex's ancestors, outermost first (so that a reader learns the
// namespaces in scope), then the apex's subtree, and stops there or goes on
// to the end of the document, epilog included.
class XmlTreeReplay final : public XmlTokenSource {
public:
    enum class Extent : uint8_t { Subtree, ToDocumentEnd };

    explicit XmlTreeReplay(const XmlDocument& doc) : XmlTreeReplay(doc, doc.root(), Extent::ToDocumentEnd) {
        m_before = doc.prolog();
    }
    XmlTreeReplay(const XmlDocument& doc, uint32_t apex, Extent extent = Extent::Subtree);

    // Inline, as a pass over a large document calls it for every token.
    bool next() override {
        if (!m_before.empty())
            return emitOutsideRoot(m_before);
        if (!m_ancestors.empty())
            return emitAncestor();
        if (m_open.size() > m_stopDepth && (m_next >= m_limit || m_doc.parent(m_next) != m_open.back()))
            return emitText(m_doc.node(m_open.back()).endBegin) || emitEndTag();
        if (m_next >= m_limit)
            return !m_after.empty() && emitOutsideRoot(m_after);
        if (emitText(m_doc.node(m_next).begin))
            return true;
        if (m_next == m_left) {
            leaveOut();
            return next();
        }
        return emitNode(m_next++);
    }
    // Replays the document as if the element (not the apex nor one of its
    // ancestors) were cut out of its text: the character data around it
    // comes as two Text tokens.
    void leaveOut(uint32_t element) { m_left = element; }
    // The document's text before the current token is not needed again by
    // this replay (see XmlDocument::releaseTextBefore).
    void releasePassedText() { m_doc.releaseTextBefore(m_token.begin, m_releasedTo); }
    const XmlToken& token() const override { return m_token; }
    bool failed() const override { return false; }
    std::string errorMessage() const override { return {}; }
    uint32_t depth() const override { return static_cast<uint32_t>(m_open.size()); }
    bool inEntity() const override { return false; }
    XmlSpan entityReference() const override { return {}; }

private:
    bool emitAncestor();
    // Character data from m_textFrom to end, when there is any.
    bool emitText(uint32_t end) {
        if (end <= m_textFrom)
            return false;
        setToken(XmlTokenKind::Text, m_textFrom, end);
        m_token.content = XmlSpan{m_textFrom, end - m_textFrom};
        m_token.textFlags = kRawTextFlags;
        m_textFrom = end;
        return true;
    }
    bool emitNode(uint32_t n) {
        const XmlDocument::Node& node = m_doc.node(n);
        m_textFrom = node.startEnd;
        if (node.kind != XmlNodeKind::Element)
            return emitOtherNode(node);
        setToken(XmlTokenKind::StartTag, node.begin, node.startEnd);
        m_token.name = XmlSpan{node.begin + 1, node.nameLength};
        m_token.selfClosing = (node.flags & XmlDocument::kSelfClosing) != 0;
        const auto attributes = m_doc.attributes(n);
        if (!attributes.empty())
            m_token.attributes = copyAttributes(attributes);
        m_open.push_back(n);
        return true;
    }
    bool emitOtherNode(const XmlDocument::Node& node);
    bool emitOutsideRoot(std::span<const XmlDocument::Node>& nodes) {
        emitOtherNode(nodes.front());
        nodes = nodes.subspan(1);
        return true;
    }
    std::span<const XmlAttribute> copyAttributes(std::span<const XmlDocument::Attribute> attributes);
    bool emitEndTag() {
        const uint32_t e = m_open.back();
        m_open.pop_back();
        const XmlDocument::Node& node = m_doc.node(e);
        // As the scanner does for "<a/>": a token of no width where the tag ends.
        const bool selfClosing = node.flags & XmlDocument::kSelfClosing;
        if (selfClosing)
            setToken(XmlTokenKind::EndTag, node.startEnd, node.startEnd);
        else
            setToken(XmlTokenKind::EndTag, node.endBegin, m_doc.endTagEnd(e));
        m_token.name = XmlSpan{node.begin + 1, node.nameLength};
        m_textFrom = m_token.end;
        return true;
    }
    void leaveOut();
    void setToken(XmlTokenKind kind, uint32_t begin, uint32_t end) {
        m_token = XmlToken{};
        m_token.kind = kind;
        m_token.begin = begin;
        m_token.end = end;
    }

    // Raw text as the scanner flags it when it has not looked: for references and line ends.
    static constexpr uint8_t kRawTextFlags = kTextHasReferences | kTextHasCarriageReturn;

    const XmlDocument& m_doc;
    std::span<const XmlDocument::Node> m_before; // the prolog's nodes not yet emitted
    std::span<const XmlDocument::Node> m_after;  // the epilog's, emitted at the end
    std::vector<uint32_t> m_ancestors;           // innermost first; emitted from the back
    std::vector<uint32_t> m_open;
    std::vector<XmlAttribute> m_attributes;
    uint32_t m_next;
    uint32_t m_limit;
    uint32_t m_stopDepth = 0; // the ancestors stay open: the replay ends with the apex
    uint32_t m_textFrom = 0;  // where character data not yet emitted begins
    uint32_t m_left = kNoNode;
    uint32_t m_releasedTo = 0;
    XmlToken m_token;
};
