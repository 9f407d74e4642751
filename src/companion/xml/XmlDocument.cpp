#include "companion/xml/XmlDocument.h"

#include "companion/platform/HugePages.h"
#include "companion/xml/XmlIdIndex.h"
#include "companion/xml/XmlLimits.h"
#include "companion/xml/XmlMarkup.h"
#include "companion/xml/XmlMatch.h"
#include "companion/xml/XmlScanner.h"
#include "companion/xml/XmlSigNames.h"
#include "companion/xml/XmlTextDecoder.h"

#include <algorithm>

namespace {

using xml_markup::kCDataClose;
using xml_markup::kCDataOpen;
using xml_markup::kPiOpen;

constexpr std::string_view kXmlNamespace = "http://www.w3.org/XML/1998/namespace";
constexpr std::string_view kXmlPrefix = "xml";
constexpr std::string_view kXmlns = "xmlns";
using xml_sig_names::kSignature;
using xml_sig_names::kSignedInfo;

// Often enough to keep little of a mapped text resident, seldom enough that
// the system calls cost nothing measurable.
constexpr uint32_t kReleaseTextStep = 8u << 20;

uint8_t nodeFlags(uint8_t textFlags) {
    uint8_t flags = 0;
    if (textFlags & kTextHasReferences)
        flags |= XmlDocument::kHasReferences;
    if (textFlags & kTextHasCarriageReturn)
        flags |= XmlDocument::kHasCarriageReturn;
    return flags;
}

} // namespace

XmlDocument::XmlDocument(SharedText text, bool autoTrim)
    : m_text(std::move(text)), m_dtd(m_text.view()), m_autoTrim(autoTrim) {
}

XmlDocument::~XmlDocument() = default;

void XmlDocument::releaseTextBefore(uint32_t offset, uint32_t& releasedTo) const {
    if (offset < releasedTo + kReleaseTextStep)
        return;
    releasedTo = offset;
    m_text.releasePages(0, offset);
}

const XmlIdIndex& XmlDocument::idIndex() const {
    std::call_once(m_idIndexBuilt, [this] { m_idIndex = std::make_unique<const XmlIdIndex>(*this); });
    return *m_idIndex;
}

std::shared_ptr<XmlDocument> XmlDocument::parse(SharedText text, bool autoTrim, std::string& error) {
    auto doc = std::make_shared<XmlDocument>(std::move(text), autoTrim);
    XmlScanner scanner(doc->m_dtd, [&text = doc->m_text](size_t offset) { text.releasePages(0, offset); });
    if (!doc->build(scanner)) {
        error = scanner.errorMessage();
        return nullptr;
    }
    return doc;
}

bool XmlDocument::build(XmlScanner& scanner) {
    // Every node but a Text node starts with '<'.
    reserveWithHugePages(m_nodes, scanner.lessThanCount());
    // Most documents have fewer attributes than tags; the reservation is
    // address space only until it is written.
    reserveWithHugePages(m_attributes, scanner.lessThanCount());
    std::vector<OpenElement> open;
    open.reserve(xml_limits::kMaxElementDepth);
    BackgroundPopulation nodePages;
    uint32_t releasedTo = 0;
    while (scanner.next()) {
        const XmlToken& t = scanner.token();
        releaseTextBefore(t.begin, releasedTo);
        switch (t.kind) {
        case XmlTokenKind::StartTag: {
            if (open.empty() && m_replayable)
                populateNodesAhead(nodePages, scanner.lessThanCount());
            const uint8_t flags = t.selfClosing ? kSelfClosing : 0;
            const uint32_t n = addNode(scanner, open, XmlNodeKind::Element, t.begin, t.end, flags);
            m_nodes[n].nameLength = static_cast<uint16_t>(t.name.length);
            addAttributes(t.attributes);
            noteSignatureCandidate(n, m_dtd.slice(t.name));
            open.push_back(OpenElement{n, kNoNode});
            break;
        }
        case XmlTokenKind::EndTag:
            m_nodes[open.back().node].endBegin = t.begin;
            open.pop_back();
            break;
        case XmlTokenKind::Text:
            if (scanner.inEntity() && !open.empty())
                addNode(scanner, open, XmlNodeKind::Text, t.content.offset, t.content.end(), nodeFlags(t.textFlags));
            break;
        case XmlTokenKind::CData:
            if (!open.empty())
                addNode(scanner, open, XmlNodeKind::CData, t.begin, t.end, nodeFlags(t.textFlags));
            break;
        case XmlTokenKind::Comment:
            if (!open.empty())
                addNode(scanner, open, XmlNodeKind::Comment, t.begin, t.end, 0);
            else
                addOutsideRoot(t, XmlNodeKind::Comment);
            break;
        case XmlTokenKind::ProcessingInstruction:
            if (!open.empty()) {
                const uint32_t n = addNode(scanner, open, XmlNodeKind::ProcessingInstruction, t.begin, t.end, 0);
                m_nodes[n].nameLength = static_cast<uint16_t>(t.name.length);
            } else {
                addOutsideRoot(t, XmlNodeKind::ProcessingInstruction);
            }
            break;
        case XmlTokenKind::Doctype:
            m_replayable = false;
            break;
        case XmlTokenKind::EntityStart:
        case XmlTokenKind::EntityEnd:
            break;
        }
    }
    std::sort(m_signatureCandidates.begin(), m_signatureCandidates.end());
    m_signatureCandidates.erase(std::unique(m_signatureCandidates.begin(), m_signatureCandidates.end()),
                                m_signatureCandidates.end());
    return !scanner.failed();
}

// The name's end is tested first: almost no element ends like these two.
void XmlDocument::noteSignatureCandidate(uint32_t element, std::string_view qualifiedName) {
    if (qualifiedName.ends_with(kSignature) && localName(qualifiedName) == kSignature)
        m_signatureCandidates.push_back(element);
    else if (qualifiedName.ends_with(kSignedInfo) && localName(qualifiedName) == kSignedInfo &&
             m_nodes[element].parent != kNoNode)
        m_signatureCandidates.push_back(m_nodes[element].parent);
}

// Without a DOCTYPE no entity adds nodes, so the array, reserved for one node
// per '<', is never replaced while it is being populated. Most elements have an end tag: about
// half the '<' open a node.
void XmlDocument::populateNodesAhead(BackgroundPopulation& pages, size_t lessThanCount) {
    pages.start(m_nodes.data(), lessThanCount / 2 * sizeof(Node));
}

uint32_t XmlDocument::addNode(const XmlScanner& scanner, std::vector<OpenElement>& open, XmlNodeKind kind,
                              uint32_t begin, uint32_t end, uint8_t flags) {
    const auto n = static_cast<uint32_t>(m_nodes.size());
    const uint32_t parent = open.empty() ? kNoNode : open.back().node;
    if (scanner.inEntity()) {
        flags |= kFromEntity;
        m_origins.push_back(EntityOrigin{n, scanner.entityReference()});
    }
    m_nodes.push_back(
        Node{begin, end, end, parent, kNoNode, static_cast<uint32_t>(m_attributes.size()), 0, kind, flags});
    if (!open.empty()) {
        OpenElement& o = open.back();
        if (o.lastChild != kNoNode)
            m_nodes[o.lastChild].nextSibling = n;
        o.lastChild = n;
    }
    return n;
}

void XmlDocument::addOutsideRoot(const XmlToken& t, XmlNodeKind kind) {
    const auto nameLength = static_cast<uint16_t>(kind == XmlNodeKind::ProcessingInstruction ? t.name.length : 0);
    m_outsideRoot.push_back(Node{t.begin, t.end, t.end, kNoNode, kNoNode, 0, nameLength, kind, 0});
    if (m_nodes.empty())
        m_prologSize = m_outsideRoot.size();
}

void XmlDocument::addAttributes(std::span<const XmlAttribute> attributes) {
    // Grown here rather than by push_back so that a large array keeps its
    // huge-page advice across reallocations.
    const size_t needed = m_attributes.size() + attributes.size();
    if (needed > m_attributes.capacity())
        reserveWithHugePages(m_attributes, std::max(needed, 2 * m_attributes.capacity()));
    for (const XmlAttribute& a : attributes)
        m_attributes.push_back(
            Attribute{a.name.offset, a.value.offset, a.value.length, static_cast<uint16_t>(a.name.length), a.flags});
}

std::string_view XmlDocument::name(uint32_t n) const {
    const Node& node = m_nodes[n];
    const auto skip = static_cast<uint32_t>(node.kind == XmlNodeKind::ProcessingInstruction ? kPiOpen.size() : 1);
    return m_dtd.slice(XmlSpan{node.begin + skip, node.nameLength});
}

std::string_view XmlDocument::localName(std::string_view qualifiedName) {
    const size_t colon = qualifiedName.find(':');
    return colon == std::string_view::npos ? qualifiedName : qualifiedName.substr(colon + 1);
}

std::string_view XmlDocument::prefix(std::string_view qualifiedName) {
    const size_t colon = qualifiedName.find(':');
    return colon == std::string_view::npos ? std::string_view{} : qualifiedName.substr(0, colon);
}

uint32_t XmlDocument::firstChild(uint32_t n) const {
    const uint32_t next = n + 1;
    return next < m_nodes.size() && m_nodes[next].parent == n ? next : kNoNode;
}

uint32_t XmlDocument::firstChildElement(uint32_t n) const {
    uint32_t c = firstChild(n);
    while (c != kNoNode && !isElement(c))
        c = m_nodes[c].nextSibling;
    return c;
}

uint32_t XmlDocument::nextSiblingElement(uint32_t n) const {
    uint32_t c = m_nodes[n].nextSibling;
    while (c != kNoNode && !isElement(c))
        c = m_nodes[c].nextSibling;
    return c;
}

std::string_view XmlDocument::attributeName(const Attribute& a) const {
    return m_dtd.slice(XmlSpan{a.nameOffset, a.nameLength});
}

void XmlDocument::appendAttributeValue(const Attribute& a, std::string& out) const {
    const std::string_view raw = m_dtd.slice(XmlSpan{a.valueOffset, a.valueLength});
    if (a.flags & kAttrNeedsDecoding)
        XmlTextDecoder::appendAttribute(raw, m_dtd, (a.flags & kAttrTokenized) != 0, out);
    else
        out.append(raw);
}

const XmlDocument::Attribute* XmlDocument::findAttribute(uint32_t element, std::string_view namePattern) const {
    for (const Attribute& a : attributes(element))
        if (xml_match::tagMatches(namePattern, attributeName(a)))
            return &a;
    return nullptr;
}

void XmlDocument::appendContent(uint32_t element, std::string& out) const {
    forEachContent(element, [&](uint32_t child, std::string_view text) {
        if (child == kNoNode) {
            XmlTextDecoder::appendContent(text, m_dtd, out);
            return;
        }
        const Node& c = m_nodes[child];
        if (c.kind == XmlNodeKind::Text) {
            XmlTextDecoder::appendContent(m_dtd.slice(XmlSpan{c.begin, c.startEnd - c.begin}), m_dtd, out);
        } else if (c.kind == XmlNodeKind::CData) {
            const auto begin = static_cast<uint32_t>(c.begin + kCDataOpen.size());
            const auto end = static_cast<uint32_t>(c.startEnd - kCDataClose.size());
            XmlTextDecoder::appendCData(m_dtd.slice(XmlSpan{begin, end - begin}), out);
        }
    });
}

bool XmlDocument::namespaceUri(uint32_t element, std::string_view prefix, std::string& uri) const {
    uri.clear();
    if (prefix == kXmlPrefix) {
        uri = kXmlNamespace;
        return true;
    }
    for (uint32_t e = element; e != kNoNode; e = m_nodes[e].parent) {
        if (const Attribute* declaration = namespaceDeclaration(e, prefix)) {
            appendAttributeValue(*declaration, uri);
            return !uri.empty();
        }
    }
    return false;
}

const XmlDocument::Attribute* XmlDocument::namespaceDeclaration(uint32_t element, std::string_view prefix) const {
    for (const Attribute& a : attributes(element)) {
        const std::string_view name = attributeName(a);
        const bool declares = prefix.empty()
                                  ? name == kXmlns
                                  : name.size() == kXmlns.size() + 1 + prefix.size() && name.starts_with(kXmlns) &&
                                        name[kXmlns.size()] == ':' && name.ends_with(prefix);
        if (declares)
            return &a;
    }
    return nullptr;
}

uint32_t XmlDocument::elementAt(uint32_t offset) const {
    // Nodes are in document order, so their start offsets ascend (entity
    // nodes aside, which a replayable document has none of).
    const auto it = std::lower_bound(m_nodes.begin(), m_nodes.end(), offset,
                                     [](const Node& node, uint32_t at) { return node.begin < at; });
    if (it == m_nodes.end() || it->begin != offset || it->kind != XmlNodeKind::Element || (it->flags & kFromEntity))
        return kNoNode;
    return static_cast<uint32_t>(it - m_nodes.begin());
}

uint32_t XmlDocument::subtreeEnd(uint32_t n) const {
    for (uint32_t e = n; e != kNoNode; e = m_nodes[e].parent) {
        if (m_nodes[e].nextSibling != kNoNode)
            return m_nodes[e].nextSibling;
    }
    return nodeCount();
}

XmlSpan XmlDocument::origin(uint32_t n) const {
    const auto it = std::lower_bound(m_origins.begin(), m_origins.end(), n,
                                     [](const EntityOrigin& o, uint32_t node) { return o.node < node; });
    return it != m_origins.end() && it->node == n ? it->reference : XmlSpan{};
}

uint32_t XmlDocument::documentBegin(uint32_t n) const {
    return (m_nodes[n].flags & kFromEntity) ? origin(n).offset : m_nodes[n].begin;
}

uint32_t XmlDocument::documentEnd(uint32_t n) const {
    const Node& node = m_nodes[n];
    if (node.flags & kFromEntity)
        return origin(n).end();
    return node.kind == XmlNodeKind::Element ? sourceEndTagEnd(n) : node.startEnd;
}

uint32_t XmlDocument::startTagBegin(uint32_t element) const {
    return documentBegin(element);
}

uint32_t XmlDocument::startTagEnd(uint32_t element) const {
    return (m_nodes[element].flags & kFromEntity) ? origin(element).end() : m_nodes[element].startEnd;
}

uint32_t XmlDocument::endTagBegin(uint32_t element) const {
    return (m_nodes[element].flags & kFromEntity) ? origin(element).end() : m_nodes[element].endBegin;
}
