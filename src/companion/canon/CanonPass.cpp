#include "companion/canon/CanonPass.h"

#include "companion/canon/CanonEscape.h"
#include "companion/canon/CanonNamespaceName.h"
#include "companion/canon/CanonQName.h"
#include "companion/canon/CanonXml11Inheritance.h"
#include "companion/log/LogBase.h"
#include "companion/xml/XmlDocument.h"
#include "companion/xml/XmlIdIndex.h"
#include "companion/xml/XmlTextDecoder.h"

#include <algorithm>

namespace {

constexpr std::string_view kAuthenticate = "authenticate";
constexpr std::string_view kAuthenticated = "true";
// "</" and ">".
constexpr uint32_t kEndTagMarkup = 3;
// Output handed to a sink in pieces of about this size.
constexpr size_t kSinkChunkBytes = 256u << 10;
constexpr size_t kUsualAttributes = 8;
constexpr size_t kUsualNamespaces = 4;

bool byPrefix(const CanonNamespaces::Binding& a, const CanonNamespaces::Binding& b) {
    return a.prefix < b.prefix;
}

} // namespace

CanonPass::CanonPass(std::string_view document, const XmlDocument* parsed, const CanonOptions& options,
                     const CanonTarget& target, unsigned& authenticatedCounter, unsigned ordinal, std::string& out)
    : m_options(options), m_target(target), m_authenticatedCounter(authenticatedCounter), m_ordinal(ordinal),
      m_output(out), m_dtd(document), m_namespaces(m_dtd),
      m_phase(target.isDocument() ? Phase::Prolog : Phase::Searching), m_testsExclusion(options.excludedEnd != 0) {
    // A pass is made for every canonicalization: what most elements need is
    // taken at once rather than grown a step at a time.
    m_attributes.reserve(kUsualAttributes);
    m_candidates.reserve(kUsualNamespaces);
    chooseTokenSource(parsed);
}

// The tree of the same text, when there is one that holds everything, spares
// scanning the text again; a fragment at an offset then starts at its apex.
void CanonPass::chooseTokenSource(const XmlDocument* parsed) {
    if (!parsed || !parsed->canStandFor(m_dtd.document())) {
        m_scanner.emplace(m_dtd);
    } else if (m_target.kind == CanonTarget::Kind::Offset) {
        if (const uint32_t apex = parsed->elementAt(m_target.offset); apex != kNoNode)
            m_replay.emplace(*parsed, apex);
        else
            m_scanner.emplace(m_dtd);
    } else {
        if (const uint32_t apex = indexedApex(*parsed); apex != kNoNode)
            m_replay.emplace(*parsed, apex);
        else
            m_replay.emplace(*parsed);
        leaveOutExcludedElement(*parsed);
    }
}

// The element an id names, looked up rather than searched for, so that a
// signature with many references walks the tree once; kNoNode when the
// search must decide (no id target, or the first such element is left out).
uint32_t CanonPass::indexedApex(const XmlDocument& parsed) const {
    if (m_target.kind != CanonTarget::Kind::Id)
        return kNoNode;
    const uint32_t apex = parsed.idIndex().find(m_target.id);
    if (apex == kNoNode)
        return kNoNode;
    const uint32_t begin = parsed.node(apex).begin;
    const bool leftOut = begin >= m_options.excludedBegin && begin < m_options.excludedEnd;
    return leftOut ? kNoNode : apex;
}

// The replay skips an excluded element whole, rather than the pass testing
// every token, when the excluded bytes are exactly one element.
void CanonPass::leaveOutExcludedElement(const XmlDocument& parsed) {
    if (m_options.excludedEnd == 0)
        return;
    const uint32_t element = parsed.elementAt(m_options.excludedBegin);
    if (element == kNoNode || parsed.endTagEnd(element) != m_options.excludedEnd)
        return;
    m_replay->leaveOut(element);
    m_testsExclusion = false;
}

bool CanonPass::run(LogBase& log) {
    reserveOutput();
    if (!(m_replay ? readTokens(*m_replay, log) : readTokens(*m_scanner, log)))
        return false;
    if (m_phase == Phase::Done || m_phase == Phase::Epilog)
        return true;
    m_missedTarget = true;
    return reportMissingTarget(log);
}

void CanonPass::reserveOutput() {
    if (m_sink) {
        // Room for the last token past the chunk size; buffers handed back
        // by the sink keep this capacity.
        m_output.flushed().reserve(kSinkChunkBytes + kSinkChunkBytes / 4);
    } else if (m_target.isDocument()) {
        // Canonical text is about as long as its source; a little headroom
        // spares a reallocation (a doubling) for most documents.
        std::string& out = m_output.flushed();
        out.reserve(out.size() + m_dtd.document().size() + m_dtd.document().size() / 8);
    }
}

// The steps of a token and of a start tag are forced inline: the compiler's
// size limits would leave them as calls, at about a tenth of the pass's cost.
[[gnu::always_inline]] inline void CanonPass::onToken(const XmlToken& t) {
    switch (t.kind) {
    case XmlTokenKind::StartTag:
        onStartTag(t);
        break;
    case XmlTokenKind::EndTag:
        onEndTag(t);
        handOverFullChunk();
        break;
    case XmlTokenKind::Text:
        if (m_phase == Phase::Inside)
            writeText(t);
        break;
    case XmlTokenKind::CData:
        if (m_phase == Phase::Inside)
            canon_escape::appendCData(m_output.flushed(), slice(t.content), m_inEntity);
        handOverFullChunk();
        break;
    case XmlTokenKind::Comment:
        onComment(t);
        handOverFullChunk();
        break;
    case XmlTokenKind::ProcessingInstruction:
        onProcessingInstruction(t);
        handOverFullChunk();
        break;
    case XmlTokenKind::Doctype:
    case XmlTokenKind::EntityStart:
    case XmlTokenKind::EntityEnd:
        break;
    }
}

template <class Source> bool CanonPass::readTokens(Source& tokens, LogBase& log) {
    while (m_phase != Phase::Done && tokens.next()) {
        m_depth = tokens.depth();
        m_inEntity = tokens.inEntity();
        if (isExcluded(tokens))
            continue;
        onToken(tokens.token());
    }
    if (m_sink)
        flushToSink();
    m_output.flushed();
    if (tokens.failed()) {
        log.LogError(tokens.errorMessage());
        return false;
    }
    if (!m_refusal.empty()) {
        log.LogError(m_refusal);
        return false;
    }
    return true;
}

// Skipping an element's tokens renders what cutting its text out would:
// the text around it joins, and nothing inside it is in scope outside.
template <class Source> bool CanonPass::isExcluded(const Source& tokens) const {
    if (!m_testsExclusion)
        return false;
    if (m_inEntity) {
        const uint32_t at = tokens.entityReference().offset;
        return at >= m_options.excludedBegin && at < m_options.excludedEnd;
    }
    // The end of an empty-element tag is a token of no width where the tag
    // ends: the one just before the excluded element stays, the excluded
    // element's own (when it is empty) goes.
    const XmlToken& t = tokens.token();
    if (t.end == t.begin)
        return t.begin > m_options.excludedBegin && t.begin <= m_options.excludedEnd;
    return t.begin >= m_options.excludedBegin && t.begin < m_options.excludedEnd;
}

bool CanonPass::reportMissingTarget(LogBase& log) const {
    switch (m_target.kind) {
    case CanonTarget::Kind::Id:
        log.LogError("No element has the Id \"" + m_target.id + "\".");
        break;
    case CanonTarget::Kind::Offset:
        log.LogError("No element starts at offset " + std::to_string(m_target.offset) + ".");
        break;
    default:
        // Not an error for the caller that asks for one fragment after another.
        log.LogInfo("No authenticated element with ordinal " + std::to_string(m_ordinal) + ".");
        break;
    }
    return false;
}

// Tested after the tokens that can follow one another without bound; at
// most two runs of text, or one start tag per level, come between two of them.
inline void CanonPass::handOverFullChunk() {
    if (m_sink && m_output.size() >= kSinkChunkBytes)
        flushToSink();
}

void CanonPass::flushToSink() {
    m_sink->handOver(m_output.flushed());
    if (m_replay)
        m_replay->releasePassedText();
}

inline void CanonPass::onStartTag(const XmlToken& t) {
    m_namespaces.openElement();
    declareNamespaces(t);
    if (m_phase == Phase::Inside) {
        if (m_relativeDepth != 0) {
            refuseRelativeNamespace();
            return;
        }
        writeStartTag(t, false);
        return;
    }
    if (m_phase == Phase::Prolog || isApex(t)) {
        if (m_relativeDepth != 0) {
            refuseRelativeNamespace();
            return;
        }
        m_phase = Phase::Inside;
        m_apexDepth = m_depth;
        writeStartTag(t, true);
        return;
    }
    rememberXmlAttributes(t);
}

inline void CanonPass::onEndTag(const XmlToken& t) {
    m_namespaces.closeElement();
    if (m_depth < m_relativeDepth)
        m_relativeDepth = 0;
    if (m_phase != Phase::Inside) {
        forgetXmlAttributesBelow(m_depth);
        return;
    }
    writeEndTag(t);
    if (m_depth < m_apexDepth)
        m_phase = m_target.isDocument() ? Phase::Epilog : Phase::Done;
}

void CanonPass::onComment(const XmlToken& t) {
    if (!m_options.withComments)
        return;
    if (m_phase == Phase::Inside) {
        writeComment(slice(t.content));
    } else if (m_phase == Phase::Prolog || m_phase == Phase::Epilog) {
        beforeOutsideRoot();
        writeComment(slice(t.content));
        afterOutsideRoot();
    }
}

void CanonPass::onProcessingInstruction(const XmlToken& t) {
    if (m_phase == Phase::Inside) {
        writeProcessingInstruction(slice(t.name), slice(t.content));
    } else if (m_phase == Phase::Prolog || m_phase == Phase::Epilog) {
        beforeOutsideRoot();
        writeProcessingInstruction(slice(t.name), slice(t.content));
        afterOutsideRoot();
    }
}

void CanonPass::beforeOutsideRoot() {
    if (m_phase == Phase::Epilog)
        m_output.push_back('\n');
}

void CanonPass::afterOutsideRoot() {
    if (m_phase == Phase::Prolog)
        m_output.push_back('\n');
}

bool CanonPass::isApex(const XmlToken& t) {
    switch (m_target.kind) {
    case CanonTarget::Kind::Id:
        return std::any_of(t.attributes.begin(), t.attributes.end(), [&](const XmlAttribute& a) {
            return XmlIdIndex::isIdName(slice(a.name)) && attributeValueIs(a, m_target.id);
        });
    case CanonTarget::Kind::Offset:
        return t.begin == m_target.offset && !m_inEntity;
    case CanonTarget::Kind::Authenticated: {
        const bool authenticated = std::any_of(t.attributes.begin(), t.attributes.end(), [&](const XmlAttribute& a) {
            return slice(a.name) == kAuthenticate && attributeValueIs(a, kAuthenticated);
        });
        return authenticated && m_authenticatedCounter++ == m_ordinal;
    }
    case CanonTarget::Kind::Document:
        break;
    }
    return false;
}

bool CanonPass::attributeValueIs(const XmlAttribute& attribute, std::string_view value) {
    if (!(attribute.flags & kAttrNeedsDecoding))
        return slice(attribute.value) == value;
    m_scratch.clear();
    XmlTextDecoder::appendAttribute(slice(attribute.value), m_dtd, (attribute.flags & kAttrTokenized) != 0, m_scratch);
    return m_scratch == value;
}

inline void CanonPass::declareNamespaces(const XmlToken& t) {
    for (const XmlAttribute& a : t.attributes) {
        std::string_view prefix;
        if (CanonQName::isNamespaceDeclaration(slice(a.name), prefix)) {
            m_namespaces.declare(prefix, a);
            noteRelativeNamespace(a);
        }
    }
}

// Only an element that is written fails: a relative name elsewhere in the
// document does not change the canonical form of this one.
void CanonPass::noteRelativeNamespace(const XmlAttribute& declaration) {
    if (m_relativeDepth == 0 &&
        canon_namespace_name::isRelative(m_namespaces.uri(m_namespaces.declaredHere().back()))) {
        m_relativeDepth = m_depth;
        m_relativeDeclaration = declaration;
    }
}

void CanonPass::refuseRelativeNamespace() {
    m_scratch.clear();
    XmlTextDecoder::appendAttribute(slice(m_relativeDeclaration.value), m_dtd,
                                    (m_relativeDeclaration.flags & kAttrTokenized) != 0, m_scratch);
    m_refusal = canon_namespace_name::refusal(m_scratch, m_relativeDeclaration.name.offset, m_dtd.document());
    m_phase = Phase::Done;
}

void CanonPass::rememberXmlAttributes(const XmlToken& t) {
    if (m_options.exclusive || !m_options.inheritAncestorContext)
        return;
    for (const XmlAttribute& a : t.attributes) {
        const std::string_view qname = slice(a.name);
        const CanonQName name = CanonQName::split(qname);
        if (name.prefix == CanonQName::kXmlPrefix)
            m_xmlAttributes.push_back(CanonXmlAttributeInScope{qname, name.localName, a.value, a.flags, m_depth});
    }
}

void CanonPass::forgetXmlAttributesBelow(uint32_t depth) {
    while (!m_xmlAttributes.empty() && m_xmlAttributes.back().depth > depth)
        m_xmlAttributes.pop_back();
}

inline void CanonPass::writeStartTag(const XmlToken& t, bool apex) {
    collectAttributes(t, apex);
    if (m_options.exclusive)
        collectExclusiveNamespaces(CanonQName::split(slice(t.name)).prefix, apex);
    else
        collectInclusiveNamespaces(apex);
    // '<' and the name, as the tag begins.
    m_output.copy(slice(XmlSpan{t.begin, t.name.end() - t.begin}));
    writeNamespaces();
    if (apex)
        writeApexAttributes();
    else
        writeAttributes();
    closeStartTag(t);
}

// Inclusive: the apex renders every namespace in scope, a descendant only
// its own declarations; either way a declaration its output parent already
// renders is superfluous.
void CanonPass::collectInclusiveNamespaces(bool apex) {
    m_candidates.clear();
    if (apex && m_options.inheritAncestorContext) {
        m_namespaces.collectInScope(m_candidates);
    } else {
        const auto here = m_namespaces.declaredHere();
        m_candidates.assign(here.begin(), here.end());
    }
    // The xml prefix is bound whether declared or not, and never rendered.
    std::erase_if(m_candidates, [](const CanonNamespaces::Binding& b) { return b.prefix == CanonQName::kXmlPrefix; });
    std::sort(m_candidates.begin(), m_candidates.end(), byPrefix);
}

// Exclusive: the namespaces that the element's name and attributes use, and
// those of the inclusive prefix list that inclusive rules would render.
[[gnu::always_inline]] inline void CanonPass::collectExclusiveNamespaces(std::string_view elementPrefix, bool apex) {
    m_candidates.clear();
    considerUtilized(elementPrefix);
    for (const CanonAttribute& a : m_attributes)
        if (!a.prefix.empty())
            considerUtilized(a.prefix);
    for (std::string_view prefix : m_options.inclusivePrefixes)
        if (apex || declaredOnElement(prefix))
            considerUtilized(prefix);
    if (apex && !m_options.inheritAncestorContext)
        std::erase_if(m_candidates, [&](const CanonNamespaces::Binding& c) { return !declaredOnElement(c.prefix); });
    // Most elements use one prefix, their own.
    if (m_candidates.size() < 2)
        return;
    std::sort(m_candidates.begin(), m_candidates.end(), byPrefix);
    m_candidates.erase(std::unique(m_candidates.begin(), m_candidates.end(),
                                   [](const auto& a, const auto& b) { return a.prefix == b.prefix; }),
                       m_candidates.end());
}

bool CanonPass::declaredOnElement(std::string_view prefix) const {
    return m_namespaces.declaredHere(prefix);
}

[[gnu::always_inline]] inline void CanonPass::considerUtilized(std::string_view prefix) {
    if (prefix == CanonQName::kXmlPrefix)
        return;
    if (const CanonNamespaces::Binding* binding = m_namespaces.find(prefix))
        m_candidates.push_back(*binding);
    else if (prefix.empty())
        m_candidates.push_back(CanonNamespaces::Binding{});
}

inline void CanonPass::writeNamespaces() {
    for (const CanonNamespaces::Binding& binding : m_candidates) {
        if (m_namespaces.isRendered(binding))
            continue;
        m_namespaces.markRendered(binding);
        m_output.append(m_namespaces.declarationText(binding));
    }
}

[[gnu::always_inline]] inline void CanonPass::collectAttributes(const XmlToken& t, bool apex) {
    m_attributes.clear();
    for (const XmlAttribute& a : t.attributes) {
        const std::string_view qname = slice(a.name);
        std::string_view declared;
        if (CanonQName::isNamespaceDeclaration(qname, declared))
            continue;
        const CanonQName name = CanonQName::split(qname);
        std::string_view uri;
        if (name.prefix == CanonQName::kXmlPrefix) {
            uri = CanonQName::kXmlNamespace;
        } else if (!name.prefix.empty()) {
            if (const CanonNamespaces::Binding* binding = m_namespaces.find(name.prefix))
                uri = m_namespaces.uri(*binding);
        }
        m_attributes.push_back(CanonAttribute{qname, name.prefix, name.localName, uri, a.value, a.flags});
    }
    if (apex)
        addInheritedXmlAttributes();
    if (m_attributes.size() < 2)
        return;
    if (m_options.sortBugEmulation)
        canon_attribute_order::sortAsWritten(m_attributes);
    else
        canon_attribute_order::sortCanonical(m_attributes);
}

// Inclusive mode: the apex carries the xml:* attributes of its ancestors
// that it does not set itself, the nearest ancestor's value winning.
// Canonical XML 1.1 carries fewer of them and joins xml:base.
void CanonPass::addInheritedXmlAttributes() {
    if (m_options.c14n11) {
        canon_xml11_inheritance::addInherited(m_attributes, m_xmlAttributes, m_dtd, m_fixedUpBase);
        return;
    }
    for (auto it = m_xmlAttributes.rbegin(); it != m_xmlAttributes.rend(); ++it) {
        const bool present = std::any_of(m_attributes.begin(), m_attributes.end(), [&](const CanonAttribute& a) {
            return a.prefix == CanonQName::kXmlPrefix && a.localName == it->localName;
        });
        if (!present)
            m_attributes.push_back(CanonAttribute{it->qname, CanonQName::kXmlPrefix, it->localName,
                                                  CanonQName::kXmlNamespace, it->value, it->flags});
    }
}

inline void CanonPass::writeAttributes() {
    for (const CanonAttribute& a : m_attributes) {
        if (const std::string_view written = writtenCanonically(a); !written.empty()) {
            m_output.copy(written);
            continue;
        }
        m_output.push_back(' ');
        m_output.append(a.qname);
        m_output.append("=\"");
        canon_escape::appendAttributeValue(m_output.flushed(), slice(a.value), a.flags, m_dtd, m_scratch);
        m_output.push_back('"');
    }
}

// Only the apex can carry a computed value. Out of line and without the
// shortcut for attributes as written, so that the pass's loop neither tests
// for one nor loses inlining to this code.
[[gnu::noinline]] void CanonPass::writeApexAttributes() {
    std::string& out = m_output.flushed();
    for (const CanonAttribute& a : m_attributes) {
        const bool computed = (a.flags & kCanonComputedValue) != 0;
        out.push_back(' ');
        out.append(a.qname);
        out.append("=\"");
        canon_escape::appendAttributeValue(out, computed ? m_fixedUpBase : slice(a.value), computed ? 0 : a.flags,
                                           m_dtd, m_scratch);
        out.push_back('"');
    }
}

// Text up to its first reference or special byte is its own canonical form,
// and most text holds none.
inline void CanonPass::writeText(const XmlToken& t) {
    const std::string_view raw = slice(t.content);
    const size_t plain = canon_escape::plainTextLength(raw);
    m_output.copy(raw.substr(0, plain));
    if (plain < raw.size())
        canon_escape::appendText(m_output.flushed(), raw.substr(plain), t.textFlags, m_inEntity, m_dtd);
}

// The '>' of a start tag as written (a token ends with it) joins the bytes
// copied before it when nothing was written in between; "/>" becomes '>'.
inline void CanonPass::closeStartTag(const XmlToken& t) {
    if (t.selfClosing)
        m_output.push_back('>');
    else
        m_output.copy(slice(XmlSpan{t.end - 1, 1}));
}

// An attribute written as ` name="value"`, with a value that needs neither
// decoding nor escaping, is its own canonical form: those bytes, or nothing.
inline std::string_view CanonPass::writtenCanonically(const CanonAttribute& a) const {
    const std::string_view value = slice(a.value);
    const char* const nameEnd = a.qname.data() + a.qname.size();
    // In this order, so that only a name in a start tag has its byte before read.
    const bool asWritten = value.data() == nameEnd + 2 && nameEnd[0] == '=' && nameEnd[1] == '"' &&
                           value.data()[value.size()] == '"' && a.qname.data()[-1] == ' ';
    if (!asWritten || !canon_escape::isPlainAttributeValue(value, a.flags))
        return {};
    return std::string_view(a.qname.data() - 1, value.data() + value.size() + 1);
}

// An end tag without blanks before its '>' is its own canonical form.
inline void CanonPass::writeEndTag(const XmlToken& t) {
    if (t.end - t.begin == t.name.length + kEndTagMarkup) {
        m_output.copy(slice(XmlSpan{t.begin, t.end - t.begin}));
        return;
    }
    m_output.append("</");
    m_output.append(slice(t.name));
    m_output.push_back('>');
}

void CanonPass::writeComment(std::string_view text) {
    m_output.append("<!--");
    canon_escape::appendMarkupText(m_output.flushed(), text);
    m_output.append("-->");
}

void CanonPass::writeProcessingInstruction(std::string_view target, std::string_view data) {
    m_output.append("<?");
    m_output.append(target);
    if (!data.empty()) {
        m_output.push_back(' ');
        canon_escape::appendMarkupText(m_output.flushed(), data);
    }
    m_output.append("?>");
}
