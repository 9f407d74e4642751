#include "companion/xml/XmlTreeReplay.h"

#include "companion/xml/XmlChars.h"
#include "companion/xml/XmlMarkup.h"

namespace {

constexpr uint32_t kPiCloseLength = 2; // "?>"
constexpr size_t kUsualDepth = 16;
constexpr size_t kUsualAttributes = 8;

} // namespace

XmlTreeReplay::XmlTreeReplay(const XmlDocument& doc, uint32_t apex, Extent extent)
    : m_doc(doc), m_next(apex), m_limit(doc.nodeCount()) {
    // Every canonicalization makes a replay: what most documents need is
    // taken at once rather than grown a step at a time.
    m_ancestors.reserve(kUsualDepth);
    m_open.reserve(kUsualDepth);
    m_attributes.reserve(kUsualAttributes);
    if (doc.nodeCount() == 0)
        return;
    for (uint32_t a = doc.parent(apex); a != kNoNode; a = doc.parent(a))
        m_ancestors.push_back(a);
    if (extent == Extent::Subtree) {
        m_limit = doc.subtreeEnd(apex);
        m_stopDepth = static_cast<uint32_t>(m_ancestors.size());
    } else {
        m_after = doc.epilog();
    }
    m_textFrom = doc.node(apex).begin;
}

bool XmlTreeReplay::emitAncestor() {
    const uint32_t a = m_ancestors.back();
    m_ancestors.pop_back();
    emitNode(a);
    // Only the start tag: the ancestor's other content is not replayed.
    m_textFrom = m_doc.node(m_next).begin;
    return true;
}

std::span<const XmlAttribute> XmlTreeReplay::copyAttributes(std::span<const XmlDocument::Attribute> attributes) {
    m_attributes.clear();
    for (const XmlDocument::Attribute& a : attributes)
        m_attributes.push_back(
            XmlAttribute{XmlSpan{a.nameOffset, a.nameLength}, XmlSpan{a.valueOffset, a.valueLength}, a.flags});
    return m_attributes;
}

void XmlTreeReplay::leaveOut() {
    m_textFrom = m_doc.endTagEnd(m_next);
    m_next = m_doc.subtreeEnd(m_next);
}

bool XmlTreeReplay::emitOtherNode(const XmlDocument::Node& node) {
    setToken(XmlTokenKind::Text, node.begin, node.startEnd);
    switch (node.kind) {
    case XmlNodeKind::CData: {
        const auto open = static_cast<uint32_t>(xml_markup::kCDataOpen.size());
        const auto close = static_cast<uint32_t>(xml_markup::kCDataClose.size());
        m_token.kind = XmlTokenKind::CData;
        m_token.content = XmlSpan{node.begin + open, node.startEnd - node.begin - open - close};
        m_token.textFlags = (node.flags & XmlDocument::kHasCarriageReturn) ? kTextHasCarriageReturn : 0;
        break;
    }
    case XmlNodeKind::Comment: {
        const auto open = static_cast<uint32_t>(xml_markup::kCommentOpen.size());
        const auto close = static_cast<uint32_t>(xml_markup::kCommentClose.size());
        m_token.kind = XmlTokenKind::Comment;
        m_token.content = XmlSpan{node.begin + open, node.startEnd - node.begin - open - close};
        break;
    }
    case XmlNodeKind::ProcessingInstruction: {
        const std::string_view text = m_doc.source();
        const auto target = static_cast<uint32_t>(node.begin + xml_markup::kPiOpen.size());
        const uint32_t dataEnd = node.startEnd - kPiCloseLength;
        const char* data = xml_chars::skipSpace(text.data() + target + node.nameLength, text.data() + dataEnd);
        const auto dataBegin = static_cast<uint32_t>(data - text.data());
        m_token.kind = XmlTokenKind::ProcessingInstruction;
        m_token.name = XmlSpan{target, node.nameLength};
        m_token.content = XmlSpan{dataBegin, dataEnd - dataBegin};
        break;
    }
    case XmlNodeKind::Element:
    case XmlNodeKind::Text:
        // Elements are emitted inline; only entity expansions make Text
        // nodes, and a replayable tree has none.
        break;
    }
    return true;
}
