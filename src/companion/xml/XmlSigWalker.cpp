#include "companion/xml/XmlSigWalker.h"

#include "companion/xml/XmlDocument.h"
#include "companion/xml/XmlScanner.h"
#include "companion/xml/XmlSigNames.h"
#include "companion/xml/XmlTreeReplay.h"

#include "companion/xml/XmlTextDecoder.h"

namespace {

using xml_sig_names::kSignature;
using xml_sig_names::kSignatureValue;
using xml_sig_names::kSignedInfo;
constexpr std::string_view kXmlns = "xmlns";
constexpr std::string_view kXmlnsPrefix = "xmlns:";
constexpr size_t kUsualDepth = 16;
constexpr size_t kUsualBindings = 8;

} // namespace

bool XmlSigWalker::Element::isSignature() const {
    return (inSignatureNamespace && localName == kSignature) || (hasSignedInfo && hasSignatureValue);
}

XmlSigWalker::XmlSigWalker(XmlDtd& dtd, const XmlDocument* parsed, uint32_t from)
    : m_tokens(tokenSource(dtd, parsed, from)), m_dtd(dtd) {
    // A walk is made for every signature located: what most documents need
    // is taken at once rather than grown a step at a time.
    m_elements.reserve(kUsualDepth);
    m_bindings.reserve(kUsualBindings);
}

// A tree of the same text that holds everything is replayed rather than the
// text scanned again, from the first element that may be a signature: what
// comes before it cannot be part of one.
std::unique_ptr<XmlTokenSource> XmlSigWalker::tokenSource(XmlDtd& dtd, const XmlDocument* parsed, uint32_t from) {
    if (!parsed || !parsed->canStandFor(dtd.document()))
        return std::make_unique<XmlScanner>(dtd);
    const uint32_t at = from ? parsed->elementAt(from) : kNoNode;
    const uint32_t first = at != kNoNode ? at : firstPossibleSignature(*parsed);
    if (first == kNoNode)
        return nullptr;
    return std::make_unique<XmlTreeReplay>(*parsed, first, XmlTreeReplay::Extent::ToDocumentEnd);
}

// Names only: whether the namespace is XML-DSig's is decided by the walk.
uint32_t XmlSigWalker::firstPossibleSignature(const XmlDocument& doc) {
    const std::span<const uint32_t> candidates = doc.signatureCandidates();
    return candidates.empty() ? kNoNode : candidates.front();
}

const XmlSigWalker::Element* XmlSigWalker::parent() const {
    return m_elements.size() > 1 ? &m_elements[m_elements.size() - 2] : nullptr;
}

bool XmlSigWalker::next() {
    closePending();
    while (m_tokens && m_tokens->next()) {
        switch (m_tokens->token().kind) {
        case XmlTokenKind::StartTag:
            return startElement();
        case XmlTokenKind::EndTag:
            endElement();
            return true;
        case XmlTokenKind::Text:
        case XmlTokenKind::CData:
            m_event = Event::Text;
            return true;
        default:
            break;
        }
    }
    return false;
}

// The element that ended stays readable until the next event.
void XmlSigWalker::closePending() {
    if (!m_closePending)
        return;
    m_closePending = false;
    const size_t depth = m_elements.size();
    while (!m_bindings.empty() && m_bindings.back().depth == depth)
        m_bindings.pop_back();
    m_elements.pop_back();
}

bool XmlSigWalker::startElement() {
    const XmlToken& token = m_tokens->token();
    const std::string_view name = m_dtd.slice(token.name);
    Element e;
    e.localName = XmlDocument::localName(name);
    e.inDocument = !m_tokens->inEntity();
    e.begin = e.inDocument ? token.begin : m_tokens->entityReference().offset;
    m_elements.push_back(e);
    declareNamespaces(m_elements.size());
    m_elements.back().inSignatureNamespace = prefixInSignatureNamespace(XmlDocument::prefix(name));
    noteChildOfParent();
    m_event = Event::Start;
    return true;
}

void XmlSigWalker::endElement() {
    Element& e = m_elements.back();
    e.end = e.inDocument ? m_tokens->token().end : m_tokens->entityReference().end();
    m_closePending = true;
    m_event = Event::End;
}

void XmlSigWalker::declareNamespaces(size_t depth) {
    std::string uri;
    for (const XmlAttribute& a : m_tokens->token().attributes) {
        const std::string_view name = m_dtd.slice(a.name);
        std::string_view prefix;
        if (name.starts_with(kXmlnsPrefix))
            prefix = name.substr(kXmlnsPrefix.size());
        else if (name != kXmlns)
            continue;
        const std::string_view raw = m_dtd.slice(a.value);
        bool inSignatureNamespace = raw == xml_sig_names::kNamespace;
        if (a.flags & kAttrNeedsDecoding) {
            uri.clear();
            XmlTextDecoder::appendAttribute(raw, m_dtd, (a.flags & kAttrTokenized) != 0, uri);
            inSignatureNamespace = uri == xml_sig_names::kNamespace;
        }
        m_bindings.push_back(Binding{prefix, inSignatureNamespace, depth});
    }
}

bool XmlSigWalker::prefixInSignatureNamespace(std::string_view prefix) const {
    for (auto it = m_bindings.rbegin(); it != m_bindings.rend(); ++it)
        if (it->prefix == prefix)
            return it->signatureNamespace;
    return false;
}

void XmlSigWalker::noteChildOfParent() {
    const Element& child = m_elements.back();
    if (!child.inSignatureNamespace || m_elements.size() < 2)
        return;
    Element& parent = m_elements[m_elements.size() - 2];
    if (child.localName == kSignedInfo)
        parent.hasSignedInfo = true;
    else if (child.localName == kSignatureValue)
        parent.hasSignatureValue = true;
}

bool XmlSigWalker::attribute(std::string_view name, std::string& value) const {
    for (const XmlAttribute& a : m_tokens->token().attributes) {
        if (m_dtd.slice(a.name) != name)
            continue;
        value.clear();
        const std::string_view raw = m_dtd.slice(a.value);
        if (a.flags & kAttrNeedsDecoding)
            XmlTextDecoder::appendAttribute(raw, m_dtd, (a.flags & kAttrTokenized) != 0, value);
        else
            value.assign(raw);
        return true;
    }
    return false;
}

void XmlSigWalker::appendText(std::string& out) const {
    const XmlToken& token = m_tokens->token();
    const std::string_view raw = m_dtd.slice(token.content);
    if (token.kind == XmlTokenKind::CData)
        XmlTextDecoder::appendCData(raw, out);
    else if (token.textFlags)
        XmlTextDecoder::appendContent(raw, m_dtd, out);
    else
        out.append(raw);
}
