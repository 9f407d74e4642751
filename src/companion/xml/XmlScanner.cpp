#include "companion/xml/XmlScanner.h"

#include "companion/text/ByteSearch.h"

#include "companion/xml/XmlChars.h"
#include "companion/xml/XmlDtdParser.h"
#include "companion/xml/XmlLimits.h"
#include "companion/xml/XmlMarkup.h"
#include "companion/xml/XmlReference.h"

#include <algorithm>
#include <cstdio>

using xml_chars::skipSpace;

namespace {

using xml_markup::kCDataClose;
using xml_markup::kCDataOpen;
using xml_markup::kCommentOpen;
using xml_markup::kPiOpen;

constexpr std::string_view kBom = "\xEF\xBB\xBF";
constexpr std::string_view kXmlDeclarationOpen = "<?xml";
constexpr std::string_view kXmlDeclarationClose = "?>";
// Up to this many attributes, pairwise comparison beats sorting.
constexpr size_t kPairwiseUniquenessLimit = 8;
constexpr size_t kUsualDepth = 16;
constexpr size_t kUsualAttributes = 8;

bool startsWith(const char* p, const char* end, std::string_view s) {
    return static_cast<size_t>(end - p) >= s.size() && std::string_view(p, s.size()) == s;
}

bool isVersionNumber(std::string_view v) {
    return v.size() > 2 && v.starts_with("1.") &&
           std::all_of(v.begin() + 2, v.end(), [](char c) { return c >= '0' && c <= '9'; });
}

bool isEncodingName(std::string_view v) {
    auto alpha = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
    return !v.empty() && alpha(v[0]) && std::all_of(v.begin() + 1, v.end(), [&](char c) {
        return alpha(c) || (c >= '0' && c <= '9') || c == '.' || c == '_' || c == '-';
    });
}

std::string quoted(std::string_view s) {
    std::string out(1, '\'');
    out.append(s);
    out.push_back('\'');
    return out;
}

} // namespace

XmlScanner::XmlScanner(XmlDtd& dtd, const std::function<void(size_t)>& textChecked) : m_dtd(dtd), m_namespaces(dtd) {
    m_inputs.reserve(xml_limits::kMaxEntityNesting + 1);
    // A scanner is made for every document: what most need is taken at once
    // rather than grown a step at a time.
    m_elements.reserve(kUsualDepth);
    m_attributes.reserve(kUsualAttributes);
    const std::string_view text = dtd.document();
    m_inputs.push_back(Input{text.data(), text.data() + text.size(), text.data(), 0, nullptr, 0, {}});
    start(textChecked);
}

bool XmlScanner::fail(const char* at, std::string reason) {
    const uint32_t offset = inEntity() ? m_inputs[1].reference.offset : offsetOf(m_inputs.back(), at);
    m_error.set(offset, std::move(reason));
    m_phase = Phase::Done;
    return false;
}

const char* XmlScanner::failAt(const char* at, std::string reason) {
    fail(at, std::move(reason));
    return nullptr;
}

void XmlScanner::setToken(XmlTokenKind kind, uint32_t begin, uint32_t end) {
    m_token = XmlToken{};
    m_token.kind = kind;
    m_token.begin = begin;
    m_token.end = end;
}

bool XmlScanner::start(const std::function<void(size_t)>& textChecked) {
    Input& in = m_inputs[0];
    const std::string_view text = m_dtd.document();
    if (text.size() > xml_limits::kMaxDocumentBytes)
        return fail(in.base, "document too large");
    const xml_chars::TextCheck check = xml_chars::checkText(text, textChecked);
    if (check.badOffset != std::string_view::npos) {
        char reason[64];
        if (check.badEncoding)
            std::snprintf(reason, sizeof reason, "invalid UTF-8 byte sequence");
        else
            std::snprintf(reason, sizeof reason, "illegal character U+%04X", check.badCodePoint);
        return fail(in.base + check.badOffset, reason);
    }
    m_lessThanCount = check.lessThanCount;
    m_expansionBudget = m_dtd.expansionBudget();
    const char* p = in.base;
    if (text.starts_with(kBom))
        p += kBom.size();
    const bool declared = startsWith(p, in.end, kXmlDeclarationOpen) &&
                          static_cast<size_t>(in.end - p) > kXmlDeclarationOpen.size() &&
                          xml_chars::isSpace(p[kXmlDeclarationOpen.size()]);
    if (declared && !readXmlDeclaration(p))
        return false;
    in.p = p;
    m_phase = Phase::Prolog;
    return true;
}

bool XmlScanner::readXmlDeclaration(const char*& p) {
    const char* const end = m_inputs[0].end;
    const char* q = p + kXmlDeclarationOpen.size();
    auto bad = [&](const char* at, const char* reason) {
        fail(at, reason);
        return -1;
    };
    // Reads ` name = "value"`; 1 when read, 0 when the name is not next, -1 on a fault.
    auto pseudoAttribute = [&](std::string_view name, std::string_view& value) -> int {
        const char* s = skipSpace(q, end);
        if (!startsWith(s, end, name))
            return 0;
        if (s == q)
            return bad(s, "whitespace required in the XML declaration");
        s = skipSpace(s + name.size(), end);
        if (s >= end || *s != '=')
            return bad(s, "expected '=' in the XML declaration");
        s = skipSpace(s + 1, end);
        if (s >= end || (*s != '"' && *s != '\''))
            return bad(s, "XML declaration values must be quoted");
        const char* close = std::find(s + 1, end, *s);
        if (close == end)
            return bad(s, "unterminated XML declaration");
        value = std::string_view(s + 1, static_cast<size_t>(close - s - 1));
        q = close + 1;
        return 1;
    };
    std::string_view version;
    std::string_view encoding;
    std::string_view standalone;
    const int hasVersion = pseudoAttribute("version", version);
    if (hasVersion <= 0)
        return hasVersion < 0 ? false : fail(q, "the XML declaration must give the version first");
    if (!isVersionNumber(version))
        return fail(p, "unsupported XML version " + quoted(version));
    const int hasEncoding = pseudoAttribute("encoding", encoding);
    if (hasEncoding < 0)
        return false;
    if (hasEncoding > 0 && !isEncodingName(encoding))
        return fail(p, "malformed encoding name " + quoted(encoding));
    const int hasStandalone = pseudoAttribute("standalone", standalone);
    if (hasStandalone < 0)
        return false;
    if (hasStandalone > 0 && standalone != "yes" && standalone != "no")
        return fail(p, "standalone must be 'yes' or 'no'");
    m_dtd.setStandalone(standalone == "yes");
    q = skipSpace(q, end);
    if (!startsWith(q, end, kXmlDeclarationClose))
        return fail(q, "malformed XML declaration");
    p = q + kXmlDeclarationClose.size();
    return true;
}

bool XmlScanner::next() {
    if (m_phase == Phase::Done)
        return false;
    if (m_pendingEnd)
        return emitPendingEnd();
    if (m_phase == Phase::Content)
        return nextInContent();
    return nextOutsideRoot();
}

bool XmlScanner::nextOutsideRoot() {
    Input& in = m_inputs[0];
    const char* p = skipSpace(in.p, in.end);
    in.p = p;
    if (p == in.end) {
        if (m_phase == Phase::Prolog)
            return fail(p, m_lessThanCount == 0 ? "document is empty" : "no root element");
        m_phase = Phase::Done;
        return false;
    }
    const bool prolog = m_phase == Phase::Prolog;
    if (*p != '<')
        return fail(p, prolog ? "text is not allowed before the root element"
                              : "text is not allowed after the root element");
    if (startsWith(p, in.end, kPiOpen))
        return scanProcessingInstruction(in, p);
    if (startsWith(p, in.end, kCommentOpen))
        return scanComment(in, p);
    if (!prolog)
        return fail(p, "extra content after the root element");
    if (startsWith(p, in.end, xml_markup::kDoctypeOpen))
        return m_seenDoctype ? fail(p, "only one DOCTYPE declaration is allowed") : scanDoctype(in, p);
    if (p + 1 < in.end && p[1] == '!')
        return fail(p, "unexpected markup before the root element");
    m_phase = Phase::Content;
    return scanStartTag(in, p);
}

bool XmlScanner::nextInContent() {
    Input& in = m_inputs.back();
    if (in.p == in.end) {
        if (in.entity)
            return leaveEntity();
        return fail(in.p, "premature end of document: missing </" + std::string(slice(m_elements.back())) + ">");
    }
    const char* p = in.p;
    if (*p != '<')
        return scanText(in);
    if (p + 1 == in.end)
        return fail(p, "unterminated markup");
    switch (p[1]) {
    case '/':
        return scanEndTag(in, p);
    case '?':
        return scanProcessingInstruction(in, p);
    case '!':
        if (startsWith(p, in.end, kCommentOpen))
            return scanComment(in, p);
        if (startsWith(p, in.end, kCDataOpen))
            return scanCData(in, p);
        return fail(p, "unexpected markup in content");
    default:
        return scanStartTag(in, p);
    }
}

bool XmlScanner::emitPendingEnd() {
    m_pendingEnd = false;
    const uint32_t at = m_token.end;
    const XmlSpan name = m_elements.back();
    setToken(XmlTokenKind::EndTag, at, at);
    m_token.name = name;
    closeElement();
    return true;
}

void XmlScanner::closeElement() {
    m_elements.pop_back();
    m_namespaces.leave(depth());
    if (m_elements.empty() && !inEntity())
        m_phase = Phase::Epilog;
}

bool XmlScanner::addExpansion(uint64_t bytes, const char* at) {
    m_expanded = bytes > UINT64_MAX - m_expanded ? UINT64_MAX : m_expanded + bytes;
    return m_expanded <= m_expansionBudget || fail(at, "entity expansion exceeds the limit");
}

bool XmlScanner::scanText(Input& in) {
    const char* const start = in.p;
    const char* const end = in.end;
    const char* p = start;
    uint8_t flags = 0;
    for (;;) {
        p = findFirstOf<'<', '&', ']', '\r'>(p, end);
        if (p == end || *p == '<')
            break;
        if (*p == '\r') {
            flags |= kTextHasCarriageReturn;
            ++p;
            continue;
        }
        if (*p == ']') {
            if (startsWith(p, end, kCDataClose))
                return fail(p, "']]>' is not allowed in content");
            ++p;
            continue;
        }
        XmlReference ref;
        std::string reason;
        if (!XmlReference::parse(p, end, ref, reason))
            return fail(p, reason);
        if (ref.kind == XmlReference::Kind::Entity) {
            XmlDtd::Entity* entity = m_dtd.findEntity(ref.name);
            if (!entity && !m_dtd.toleratesUndeclared())
                return fail(p, "undefined entity " + quoted(ref.name));
            if (entity && entity->kind == XmlDtd::EntityKind::Unparsed)
                return fail(p, "reference to unparsed entity " + quoted(ref.name));
            if (entity && entity->kind == XmlDtd::EntityKind::Internal) {
                if (!entity->plainText) {
                    if (p > start)
                        break; // the text before the reference goes first
                    const XmlSpan name = spanOf(in, ref.name.data(), ref.name.data() + ref.name.size());
                    return enterEntity(in, p, name, ref.end, *entity);
                }
                if (!addExpansion(entity->replacement.length, p))
                    return false;
            }
        }
        flags |= kTextHasReferences;
        p = ref.end;
    }
    in.p = p;
    setToken(XmlTokenKind::Text, offsetOf(in, start), offsetOf(in, p));
    m_token.content = spanOf(in, start, p);
    m_token.textFlags = flags;
    return true;
}

bool XmlScanner::enterEntity(Input& in, const char* reference, XmlSpan name, const char* referenceEnd,
                             XmlDtd::Entity& entity) {
    if (entity.inUse)
        return fail(reference, "entity " + quoted(slice(name)) + " refers to itself");
    if (m_inputs.size() > xml_limits::kMaxEntityNesting)
        return fail(reference, "entity references nested too deeply");
    if (!addExpansion(entity.replacement.length, reference))
        return false;
    const XmlSpan span = spanOf(in, reference, referenceEnd);
    in.p = referenceEnd;
    entity.inUse = true;
    const char* base = m_dtd.pointer(entity.replacement.offset);
    m_inputs.push_back(
        Input{base, base + entity.replacement.length, base, entity.replacement.offset, &entity, depth(), span});
    setToken(XmlTokenKind::EntityStart, span.offset, span.end());
    m_token.name = name;
    return true;
}

bool XmlScanner::leaveEntity() {
    const Input& in = m_inputs.back();
    if (depth() != in.depthAtEntry)
        return fail(in.p, "the text of entity reference " + std::string(slice(in.reference)) + " is not well-balanced");
    in.entity->inUse = false;
    const XmlSpan reference = in.reference;
    m_inputs.pop_back();
    setToken(XmlTokenKind::EntityEnd, reference.offset, reference.end());
    return true;
}

bool XmlScanner::scanStartTag(Input& in, const char* p) {
    const char* const end = in.end;
    const char* const nameBegin = p + 1;
    const char* const nameEnd = xml_chars::scanName(nameBegin, end);
    if (nameEnd == nameBegin)
        return fail(nameBegin, "invalid element name");
    if (static_cast<uint32_t>(nameEnd - nameBegin) > xml_limits::kMaxNameLength)
        return fail(nameBegin, "name too long");
    m_attributes.clear();
    const char* q = nameEnd;
    bool selfClosing = false;
    for (;;) {
        const char* const afterPrevious = q;
        q = skipSpace(q, end);
        if (q >= end)
            return fail(p, "unterminated start tag");
        if (*q == '>') {
            ++q;
            break;
        }
        if (*q == '/') {
            if (q + 1 < end && q[1] == '>') {
                q += 2;
                selfClosing = true;
                break;
            }
            return fail(q, "malformed start tag");
        }
        if (q == afterPrevious)
            return fail(q, "whitespace required between attributes");
        if (!(q = scanAttribute(in, q)))
            return false;
    }
    if (m_attributes.size() > 1 && !checkUniqueAttributes(in))
        return false;
    const XmlSpan name = spanOf(in, nameBegin, nameEnd);
    if (m_dtd.hasAttributeDecls())
        addAttributeDefaults(slice(name));
    if (depth() >= xml_limits::kMaxElementDepth)
        return fail(p, "elements nested deeper than " + std::to_string(xml_limits::kMaxElementDepth) + " levels");
    if (!m_namespaces.enter(std::string_view(nameBegin, static_cast<size_t>(nameEnd - nameBegin)), m_attributes,
                            depth() + 1))
        return failNamespaces(in, p);
    in.p = q;
    setToken(XmlTokenKind::StartTag, offsetOf(in, p), offsetOf(in, q));
    m_token.name = name;
    m_token.selfClosing = selfClosing;
    m_token.attributes = m_attributes;
    m_elements.push_back(name);
    m_pendingEnd = selfClosing;
    return true;
}

const char* XmlScanner::scanAttribute(Input& in, const char* p) {
    const char* const end = in.end;
    const char* const nameEnd = xml_chars::scanName(p, end);
    if (nameEnd == p)
        return failAt(p, "invalid attribute name");
    if (static_cast<uint32_t>(nameEnd - p) > xml_limits::kMaxNameLength)
        return failAt(p, "name too long");
    const char* q = skipSpace(nameEnd, end);
    if (q >= end || *q != '=')
        return failAt(q, "expected '=' after attribute name");
    q = skipSpace(q + 1, end);
    if (q >= end || (*q != '"' && *q != '\''))
        return failAt(q, "attribute value must be quoted");
    const char quote = *q;
    const char* const value = ++q;
    uint8_t flags = 0;
    for (;;) {
        q = findFirstOf<'<', '&', '"', '\'', '\t', '\n', '\r'>(q, end);
        if (q >= end)
            return failAt(value - 1, "unterminated attribute value");
        const char c = *q;
        if (c == quote)
            break;
        if (c == '<')
            return failAt(q, "'<' not allowed in attribute values");
        if (c == '&') {
            XmlReference ref;
            std::string reason;
            if (!XmlReference::parse(q, end, ref, reason))
                return failAt(q, reason);
            uint64_t length = 0;
            if (ref.kind == XmlReference::Kind::Entity) {
                if (!m_dtd.checkAttributeUse(ref.name, 0, length, reason))
                    return failAt(q, reason);
                if (!addExpansion(length, q))
                    return nullptr;
            }
            flags |= kAttrNeedsDecoding;
            q = ref.end;
            continue;
        }
        if (c != '"' && c != '\'')
            flags |= kAttrNeedsDecoding; // whitespace that normalizes to spaces
        ++q;
    }
    m_attributes.push_back(XmlAttribute{spanOf(in, p, nameEnd), spanOf(in, value, q), flags});
    return q + 1;
}

bool XmlScanner::checkUniqueAttributes(const Input& in) {
    auto nameOf = [&](uint32_t i) {
        const XmlSpan s = m_attributes[i].name;
        return std::string_view(in.base + (s.offset - in.baseOffset), s.length);
    };
    auto duplicate = [&](uint32_t i) {
        return fail(in.base + (m_attributes[i].name.offset - in.baseOffset),
                    "duplicate attribute " + quoted(nameOf(i)));
    };
    const auto n = static_cast<uint32_t>(m_attributes.size());
    if (n <= kPairwiseUniquenessLimit) {
        for (uint32_t i = 1; i < n; ++i)
            for (uint32_t j = 0; j < i; ++j)
                if (nameOf(i) == nameOf(j))
                    return duplicate(i);
        return true;
    }
    m_order.resize(n);
    for (uint32_t i = 0; i < n; ++i)
        m_order[i] = i;
    std::sort(m_order.begin(), m_order.end(), [&](uint32_t a, uint32_t b) {
        const std::string_view na = nameOf(a);
        const std::string_view nb = nameOf(b);
        return na != nb ? na < nb : a < b;
    });
    for (uint32_t i = 1; i < n; ++i)
        if (nameOf(m_order[i]) == nameOf(m_order[i - 1]))
            return duplicate(m_order[i]);
    return true;
}

// A fault is placed at its attribute, or at the tag for the element's name
// and for a default the DTD supplied.
bool XmlScanner::failNamespaces(const Input& in, const char* tag) {
    const XmlNamespaceScope::Fault& fault = m_namespaces.fault();
    const XmlAttribute* at = fault.attribute;
    const bool written = at && !(at->flags & kAttrDefaulted);
    return fail(written ? in.base + (at->name.offset - in.baseOffset) : tag, fault.reason);
}

void XmlScanner::addAttributeDefaults(std::string_view element) {
    const std::vector<XmlDtd::AttributeDecl>* decls = m_dtd.attributesOf(element);
    if (!decls)
        return;
    for (const XmlDtd::AttributeDecl& decl : *decls) {
        const std::string_view name = slice(decl.name);
        const uint8_t tokenized =
            (decl.tokenized ? (kAttrTokenized | kAttrNeedsDecoding) : 0) | (decl.isId ? kAttrDeclaredId : 0);
        auto present = std::find_if(m_attributes.begin(), m_attributes.end(),
                                    [&](const XmlAttribute& a) { return slice(a.name) == name; });
        if (present != m_attributes.end()) {
            present->flags |= tokenized;
        } else if (decl.hasDefault) {
            const uint8_t decoding = decl.valueNeedsDecoding ? kAttrNeedsDecoding : 0;
            m_attributes.push_back(XmlAttribute{decl.name, decl.defaultValue,
                                                static_cast<uint8_t>(kAttrDefaulted | tokenized | decoding)});
        }
    }
}

bool XmlScanner::scanEndTag(Input& in, const char* p) {
    const char* const nameBegin = p + 2;
    const char* const nameEnd = endTagNameEnd(in, nameBegin);
    const char* const q = skipSpace(nameEnd, in.end);
    if (nameEnd == nameBegin || q >= in.end || *q != '>')
        return fail(p, "malformed end tag");
    const std::string_view name(nameBegin, static_cast<size_t>(nameEnd - nameBegin));
    if (depth() == in.depthAtEntry) {
        const std::string tag = "end tag </" + std::string(name) + ">";
        return fail(p, in.entity ? tag + " closes an element opened outside its entity" : tag + " has no start tag");
    }
    const std::string_view open = slice(m_elements.back());
    if (name != open)
        return fail(p, "mismatched end tag: expected </" + std::string(open) + ">");
    in.p = q + 1;
    setToken(XmlTokenKind::EndTag, offsetOf(in, p), offsetOf(in, in.p));
    m_token.name = spanOf(in, nameBegin, nameEnd);
    closeElement();
    return true;
}

// Where the end tag's name ends. It is nearly always the open element's
// name, which a comparison confirms faster than scanning name characters.
const char* XmlScanner::endTagNameEnd(const Input& in, const char* nameBegin) const {
    if (depth() > in.depthAtEntry) {
        const std::string_view open = slice(m_elements.back());
        const auto room = static_cast<size_t>(in.end - nameBegin);
        if (room > open.size() && std::string_view(nameBegin, open.size()) == open &&
            (nameBegin[open.size()] == '>' || xml_chars::isSpace(nameBegin[open.size()])))
            return nameBegin + open.size();
    }
    return xml_chars::scanName(nameBegin, in.end);
}

bool XmlScanner::scanComment(Input& in, const char* p) {
    xml_markup::Fault fault;
    const char* end = xml_markup::commentEnd(p + kCommentOpen.size(), in.end, fault);
    if (!end)
        return fail(fault.at, fault.reason);
    in.p = end;
    setToken(XmlTokenKind::Comment, offsetOf(in, p), offsetOf(in, end));
    m_token.content = spanOf(in, p + kCommentOpen.size(), end - xml_markup::kCommentClose.size());
    return true;
}

bool XmlScanner::scanProcessingInstruction(Input& in, const char* p) {
    xml_markup::Fault fault;
    xml_markup::ProcessingInstruction pi;
    const char* end = xml_markup::processingInstructionEnd(p + kPiOpen.size(), in.end, pi, fault);
    if (!end)
        return fail(fault.at, fault.reason);
    in.p = end;
    setToken(XmlTokenKind::ProcessingInstruction, offsetOf(in, p), offsetOf(in, end));
    m_token.name = spanOf(in, pi.target, pi.targetEnd);
    m_token.content = spanOf(in, pi.data, pi.dataEnd);
    return true;
}

bool XmlScanner::scanCData(Input& in, const char* p) {
    const char* const body = p + kCDataOpen.size();
    const std::string_view rest(body, static_cast<size_t>(in.end - body));
    const size_t close = rest.find(kCDataClose);
    if (close == std::string_view::npos)
        return fail(p, "unterminated CDATA section");
    in.p = body + close + kCDataClose.size();
    setToken(XmlTokenKind::CData, offsetOf(in, p), offsetOf(in, in.p));
    m_token.content = spanOf(in, body, body + close);
    m_token.textFlags = rest.substr(0, close).find('\r') != std::string_view::npos ? kTextHasCarriageReturn : 0;
    return true;
}

bool XmlScanner::scanDoctype(Input& in, const char* p) {
    m_seenDoctype = true;
    XmlDtdParser parser(m_dtd, m_error);
    const uint32_t after = parser.parseDoctype(offsetOf(in, p));
    if (after == 0) {
        m_phase = Phase::Done;
        return false;
    }
    in.p = in.base + after;
    setToken(XmlTokenKind::Doctype, offsetOf(in, p), after);
    return true;
}
