#include "companion/xml/XmlTreeReplay.h"

#include "companion/xml/XmlChars.h"
#include "companion/xml/XmlMarkup.h"

namespace {

constexpr uint8_t kRawTextFlags = kTextHasReferences | kTextHasCarriageReturn;
constexpr uint32_t kPiCloseLength = 2; // "?>"

} // namespace

XmlTreeReplay::XmlTreeReplay(const XmlDocument& doc, uint32_t apex, Extent extent)
    : m_doc(doc), m_next(apex), m_limit(doc.nodeCount()) {
    if (doc.nodeCount() == 0)
        return;
    for (uint32_t a = doc.parent(apex); a != kNoNode; a = doc.parent(a))
        m_ancestors.push_back(a);
    if (extent == Extent::Subtree) {
        m_limit = doc.subtreeEnd(apex);
        m_stopDepth = static_cast<uint32_t>(m_ancestors.size());
    }
    m_textFrom = doc.node(apex).begin;
}

bool XmlTreeReplay::next() {
    if (!m_ancestors.empty())
        return emitAncestor();
    const bool closes = m_open.size() > m_stopDepth && (m_next >= m_limit || m_doc.parent(m_next) != m_open.back());
    if (closes) {
        if (emitText(m_doc.node(m_open.back()).endBegin))
            return true;
        emitEndTag();
        return true;
    }
    if (m_next >= m_limit)
        return false;
    if (emitText(m_doc.node(m_next).begin))
        return true;
    emitNode(m_next++);
    return true;
}

bool XmlTreeReplay::emitAncestor() {
    const uint32_t a = m_ancestors.back();
    m_ancestors.pop_back();
    emitNode(a);
    // Only the start tag: the ancestor's other content is not replayed.
    m_textFrom = m_doc.node(m_next).begin;
    return true;
}

// Character data from m_textFrom to end, when there is any.
bool XmlTreeReplay::emitText(uint32_t end) {
    if (end <= m_textFrom)
        return false;
    setToken(XmlTokenKind::Text, m_textFrom, end);
    m_token.content = XmlSpan{m_textFrom, end - m_textFrom};
    m_token.textFlags = kRawTextFlags;
    m_textFrom = end;
    return true;
}

void XmlTreeReplay::emitNode(uint32_t n) {
    const XmlDocument::Node& node = m_doc.node(n);
    setToken(XmlTokenKind::Text, node.begin, node.startEnd);
    m_textFrom = node.startEnd;
    switch (node.kind) {
    case XmlNodeKind::Element:
        m_token.kind = XmlTokenKind::StartTag;
        m_token.name = XmlSpan{node.begin + 1, node.nameLength};
        m_token.selfClosing = (node.flags & XmlDocument::kSelfClosing) != 0;
        m_attributes.clear();
        for (const XmlDocument::Attribute& a : m_doc.attributes(n))
            m_attributes.push_back(
                XmlAttribute{XmlSpan{a.nameOffset, a.nameLength}, XmlSpan{a.valueOffset, a.valueLength}, a.flags});
        m_token.attributes = m_attributes;
        m_open.push_back(n);
        break;
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
    case XmlNodeKind::Text:
        // Only entity expansions make Text nodes; a replayable tree has none.
        break;
    }
}

void XmlTreeReplay::emitEndTag() {
    const uint32_t e = m_open.back();
    m_open.pop_back();
    const XmlDocument::Node& node = m_doc.node(e);
    if (node.flags & XmlDocument::kSelfClosing) {
        // As the scanner does: a token of no width where the tag ends.
        setToken(XmlTokenKind::EndTag, node.startEnd, node.startEnd);
    } else {
        setToken(XmlTokenKind::EndTag, node.endBegin, m_doc.endTagEnd(e));
    }
    m_token.name = XmlSpan{node.begin + 1, node.nameLength};
    m_textFrom = m_token.end;
}

void XmlTreeReplay::setToken(XmlTokenKind kind, uint32_t begin, uint32_t end) {
    m_token = XmlToken{};
    m_token.kind = kind;
    m_token.begin = begin;
    m_token.end = end;
}
