#include "companion/xml/XmlDtdParser.h"
#include "companion/text/Utf8.h"

#include "companion/xml/XmlChars.h"
#include "companion/xml/XmlLimits.h"
#include "companion/xml/XmlMarkup.h"
#include "companion/xml/XmlReference.h"

#include <cstring>

using xml_chars::isSpace;
using xml_chars::skipSpace;

namespace {

constexpr std::string_view kEntityDecl = "<!ENTITY";
constexpr std::string_view kAttlistDecl = "<!ATTLIST";
constexpr std::string_view kElementDecl = "<!ELEMENT";
constexpr std::string_view kNotationDecl = "<!NOTATION";
constexpr std::string_view kSystem = "SYSTEM";
constexpr std::string_view kPublic = "PUBLIC";
constexpr std::string_view kNdata = "NDATA";
constexpr std::string_view kCdata = "CDATA";
constexpr std::string_view kNotation = "NOTATION";
constexpr std::string_view kIdType = "ID";
constexpr std::string_view kRequired = "#REQUIRED";
constexpr std::string_view kImplied = "#IMPLIED";
constexpr std::string_view kFixed = "#FIXED";
constexpr std::string_view kEmpty = "EMPTY";
constexpr std::string_view kAny = "ANY";
constexpr std::string_view kPcdata = "#PCDATA";

bool isPubidChar(char c, char quote) {
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'))
        return true;
    if (c == '\'')
        return quote != '\'';
    return std::strchr(" \r\n-()+,./:=?;!*#@$_%", c) != nullptr && c != '\0';
}

bool isQuote(const char* p, const char* end) {
    return p < end && (*p == '"' || *p == '\'');
}
bool isOccurrence(const char* p, const char* end) {
    return p < end && (*p == '?' || *p == '*' || *p == '+');
}

} // namespace

const char* XmlDtdParser::fail(const char* at, std::string reason) {
    m_error.set(m_cursor.faultOffset != kNoOffset ? m_cursor.faultOffset : offsetOf(at), std::move(reason));
    return nullptr;
}

XmlDtdParser::Cursor XmlDtdParser::documentCursor() const {
    const std::string_view doc = m_dtd.document();
    return Cursor{doc.data(), doc.data() + doc.size(), 0, kNoOffset};
}

uint32_t XmlDtdParser::parseDoctype(uint32_t begin) {
    const std::string_view doc = m_dtd.document();
    m_cursor = documentCursor();
    const char* p = parseName(requireSpace(doc.data() + begin + xml_markup::kDoctypeOpen.size()));
    if (!p)
        return 0;
    const char* q = skipSpace(p, m_cursor.end);
    if (q > p && (startsWith(q, kSystem) || startsWith(q, kPublic))) {
        q = parseExternalId(q, SystemLiteral::Required);
        if (!q)
            return 0;
        m_dtd.setHasExternalSubset();
        q = skipSpace(q, m_cursor.end);
    }
    if (q < m_cursor.end && *q == '[') {
        uint32_t pos = offsetOf(q + 1);
        if (!parseInternalSubset(pos))
            return 0;
        m_cursor = documentCursor();
        q = skipSpace(doc.data() + pos, m_cursor.end);
    }
    q = expectClose(q, "DOCTYPE declaration");
    return q ? offsetOf(q) : 0;
}

bool XmlDtdParser::parseInternalSubset(uint32_t& pos) {
    const Cursor document = m_cursor;
    XmlSpan entityText;
    uint32_t entityPos = 0;
    uint32_t entityReference = kNoOffset;
    uint64_t expanded = 0;
    for (;;) {
        const bool inEntity = entityReference != kNoOffset;
        if (inEntity) {
            // Recomputed each time: storing an entity text may move this one.
            const char* base = m_dtd.pointer(entityText.offset);
            m_cursor = Cursor{base, base + entityText.length, entityText.offset, entityReference};
        } else {
            m_cursor = document;
        }
        uint32_t& at = inEntity ? entityPos : pos;
        const char* p = skipSpace(m_cursor.base + (at - m_cursor.baseOffset), m_cursor.end);
        if (p == m_cursor.end) {
            if (!inEntity) {
                fail(p, "unterminated internal DTD subset");
                return false;
            }
            entityReference = kNoOffset;
            continue;
        }
        if (*p == ']' && !inEntity) {
            pos = offsetOf(p + 1);
            return true;
        }
        if (*p == '%' && !inEntity) {
            bool entered = false;
            const char* after = parseParameterReference(p, entered, entityText);
            if (!after)
                return false;
            pos = offsetOf(after);
            if (entered) {
                expanded += entityText.length;
                if (expanded > m_dtd.expansionBudget()) {
                    fail(p, "entity expansion exceeds the limit");
                    return false;
                }
                entityReference = offsetOf(p);
                entityPos = entityText.offset;
            }
            continue;
        }
        const char* after = *p == '<' ? parseDeclaration(p) : fail(p, "malformed internal DTD subset");
        if (!after)
            return false;
        at = offsetOf(after);
        storePendingEntity();
    }
}

const char* XmlDtdParser::parseParameterReference(const char* p, bool& entered, XmlSpan& text) {
    const char* nameEnd = parseName(p + 1);
    if (!nameEnd)
        return nullptr;
    if (nameEnd >= m_cursor.end || *nameEnd != ';')
        return fail(nameEnd, "malformed parameter-entity reference");
    const std::string_view name(p + 1, static_cast<size_t>(nameEnd - p - 1));
    const XmlDtd::Entity* entity = m_dtd.findParameterEntity(name);
    if (!entity && !m_dtd.toleratesUndeclared())
        return fail(p, "undefined parameter entity '%" + std::string(name) + ";'");
    entered = entity && entity->kind == XmlDtd::EntityKind::Internal && entity->replacement.length > 0;
    if (entered)
        text = entity->replacement;
    return nameEnd + 1;
}

const char* XmlDtdParser::parseDeclaration(const char* p) {
    xml_markup::Fault fault;
    const char* end = nullptr;
    if (startsWith(p, xml_markup::kCommentOpen)) {
        end = xml_markup::commentEnd(p + xml_markup::kCommentOpen.size(), m_cursor.end, fault);
    } else if (startsWith(p, xml_markup::kPiOpen)) {
        xml_markup::ProcessingInstruction pi;
        end = xml_markup::processingInstructionEnd(p + xml_markup::kPiOpen.size(), m_cursor.end, pi, fault);
    } else if (startsWith(p, kEntityDecl)) {
        return parseEntityDecl(p + kEntityDecl.size());
    } else if (startsWith(p, kAttlistDecl)) {
        return parseAttlistDecl(p + kAttlistDecl.size());
    } else if (startsWith(p, kElementDecl)) {
        return parseElementDecl(p + kElementDecl.size());
    } else if (startsWith(p, kNotationDecl)) {
        return parseNotationDecl(p + kNotationDecl.size());
    } else if (startsWith(p, "<![")) {
        return fail(p, "conditional sections are only allowed in an external DTD subset");
    } else {
        return fail(p, "malformed markup declaration");
    }
    return end ? end : fail(fault.at, fault.reason);
}

const char* XmlDtdParser::parseEntityDecl(const char* p) {
    p = requireSpace(p);
    if (!p)
        return nullptr;
    const bool parameter = *p == '%';
    if (parameter && !(p = requireSpace(p + 1)))
        return nullptr;
    const char* name = p;
    if (!(p = parseName(p)))
        return nullptr;
    const std::string_view nameView(name, static_cast<size_t>(p - name));
    if (!(p = requireSpace(p)))
        return nullptr;
    XmlDtd::Entity entity;
    m_text.clear();
    if (isQuote(p, m_cursor.end)) {
        if (!(p = parseEntityValue(p)))
            return nullptr;
        entity.plainText = m_text.find_first_of("<&\r") == std::string::npos && m_text.find("]]>") == std::string::npos;
    } else {
        if (!(p = parseExternalId(p, SystemLiteral::Required)))
            return nullptr;
        entity.kind = XmlDtd::EntityKind::External;
        const char* q = skipSpace(p, m_cursor.end);
        if (q > p && startsWith(q, kNdata)) {
            if (parameter)
                return fail(q, "a parameter entity cannot be unparsed");
            if (!(q = requireSpace(q + kNdata.size())) || !(q = parseName(q)))
                return nullptr;
            entity.kind = XmlDtd::EntityKind::Unparsed;
            p = q;
        }
    }
    if (!(p = expectClose(p, "entity declaration")))
        return nullptr;
    uint32_t unused = 0;
    // Redeclaring a predefined entity changes nothing.
    if (parameter || !XmlReference::predefined(nameView, unused))
        m_pending = PendingEntity{std::string(nameView), entity, parameter, true};
    return p;
}

const char* XmlDtdParser::parseEntityValue(const char* p) {
    const char* const begin = p;
    const char quote = *p++;
    while (p < m_cursor.end && *p != quote) {
        const char c = *p;
        if (c == '%')
            return fail(p, "'%' is not allowed in an entity value in the internal DTD subset");
        if (c == '&') {
            XmlReference ref;
            std::string reason;
            if (!XmlReference::parse(p, m_cursor.end, ref, reason))
                return fail(p, reason);
            // Character references are replaced now; entity references stay
            // for the place where the entity is used.
            if (ref.kind == XmlReference::Kind::Character)
                appendUtf8(ref.codePoint, m_text);
            else
                m_text.append(p, ref.end);
            p = ref.end;
        } else if (c == '\r') {
            m_text.push_back('\n');
            p += (p + 1 < m_cursor.end && p[1] == '\n') ? 2 : 1;
        } else {
            m_text.push_back(c);
            ++p;
        }
    }
    if (p >= m_cursor.end)
        return fail(begin, "unterminated entity value");
    return p + 1;
}

void XmlDtdParser::storePendingEntity() {
    if (!m_pending.active)
        return;
    m_pending.active = false;
    const bool known = m_pending.parameter ? m_dtd.findParameterEntity(m_pending.name) != nullptr
                                           : m_dtd.findEntity(m_pending.name) != nullptr;
    if (known)
        return;
    if (m_pending.entity.kind == XmlDtd::EntityKind::Internal)
        m_pending.entity.replacement = m_dtd.appendText(m_text);
    if (m_pending.parameter)
        m_dtd.declareParameterEntity(m_pending.name, m_pending.entity);
    else
        m_dtd.declareEntity(m_pending.name, m_pending.entity);
}

const char* XmlDtdParser::parseAttlistDecl(const char* p) {
    const char* element = requireSpace(p);
    if (!element || !(p = parseName(element)))
        return nullptr;
    const std::string_view elementName(element, static_cast<size_t>(p - element));
    for (;;) {
        const char* q = skipSpace(p, m_cursor.end);
        if (q < m_cursor.end && *q == '>')
            return q + 1;
        if (q == p)
            return fail(q, "whitespace required in attribute-list declaration");
        XmlDtd::AttributeDecl decl;
        const char* name = q;
        if (!(q = parseName(q)))
            return nullptr;
        decl.name = XmlSpan{offsetOf(name), static_cast<uint32_t>(q - name)};
        if (!(q = requireSpace(q)) || !(q = parseAttributeType(q, decl)) || !(q = requireSpace(q)) ||
            !(q = parseDefaultValue(q, decl)))
            return nullptr;
        m_dtd.declareAttribute(elementName, decl);
        p = q;
    }
}

const char* XmlDtdParser::parseAttributeType(const char* p, XmlDtd::AttributeDecl& decl) {
    bool& tokenized = decl.tokenized;
    tokenized = true;
    bool enumeration = p < m_cursor.end && *p == '(';
    bool nmtokens = enumeration;
    if (!enumeration) {
        const char* q = parseName(p);
        if (!q)
            return nullptr;
        const std::string_view type(p, static_cast<size_t>(q - p));
        static constexpr std::string_view kTokenizedTypes[] = {"ID",       "IDREF",   "IDREFS",  "ENTITY",
                                                               "ENTITIES", "NMTOKEN", "NMTOKENS"};
        decl.isId = type == kIdType;
        if (type == kCdata) {
            tokenized = false;
            return q;
        }
        for (std::string_view t : kTokenizedTypes)
            if (type == t)
                return q;
        if (type != kNotation)
            return fail(p, "unknown attribute type");
        if (!(p = requireSpace(q)))
            return nullptr;
        if (*p != '(')
            return fail(p, "expected '(' after NOTATION");
    }
    ++p;
    for (;;) {
        p = skipSpace(p, m_cursor.end);
        const char* q = nmtokens ? xml_chars::scanNmtoken(p, m_cursor.end) : xml_chars::scanName(p, m_cursor.end);
        if (q == p)
            return fail(p, "malformed enumerated attribute type");
        p = skipSpace(q, m_cursor.end);
        if (p < m_cursor.end && *p == ')')
            return p + 1;
        if (p >= m_cursor.end || *p != '|')
            return fail(p, "malformed enumerated attribute type");
        ++p;
    }
}

const char* XmlDtdParser::parseDefaultValue(const char* p, XmlDtd::AttributeDecl& decl) {
    if (startsWith(p, kRequired))
        return p + kRequired.size();
    if (startsWith(p, kImplied))
        return p + kImplied.size();
    if (startsWith(p, kFixed) && !(p = requireSpace(p + kFixed.size())))
        return nullptr;
    if (!isQuote(p, m_cursor.end))
        return fail(p, "attribute default must be quoted");
    const char quote = *p;
    const char* const value = p + 1;
    const char* q = value;
    while (q < m_cursor.end && *q != quote) {
        if (*q == '<')
            return fail(q, "'<' not allowed in attribute values");
        if (*q == '&') {
            XmlReference ref;
            std::string reason;
            if (!XmlReference::parse(q, m_cursor.end, ref, reason))
                return fail(q, reason);
            uint64_t length = 0;
            if (ref.kind == XmlReference::Kind::Entity && !m_dtd.checkAttributeUse(ref.name, 0, length, reason))
                return fail(q, reason);
            if (length > m_dtd.expansionBudget())
                return fail(q, "entity expansion exceeds the limit");
            decl.valueNeedsDecoding = true;
            q = ref.end;
            continue;
        }
        decl.valueNeedsDecoding |= *q == '\t' || *q == '\n' || *q == '\r';
        ++q;
    }
    if (q >= m_cursor.end)
        return fail(value, "unterminated attribute default");
    decl.defaultValue = XmlSpan{offsetOf(value), static_cast<uint32_t>(q - value)};
    decl.hasDefault = true;
    return q + 1;
}

const char* XmlDtdParser::parseElementDecl(const char* p) {
    p = requireSpace(p);
    if (!p || !(p = parseName(p)) || !(p = requireSpace(p)))
        return nullptr;
    if (startsWith(p, kEmpty))
        p += kEmpty.size();
    else if (startsWith(p, kAny))
        p += kAny.size();
    else if (*p == '(')
        p = parseContentModel(p);
    else
        return fail(p, "malformed element content model");
    return p ? expectClose(p, "element declaration") : nullptr;
}

const char* XmlDtdParser::parseContentModel(const char* p) {
    const char* q = skipSpace(p + 1, m_cursor.end);
    if (startsWith(q, kPcdata))
        return parseMixedContent(q + kPcdata.size());
    // One separator per open group: 0 until the group shows ',' or '|'.
    std::string separators(1, '\0');
    p = q;
    for (;;) {
        p = skipSpace(p, m_cursor.end);
        if (p < m_cursor.end && *p == '(') {
            if (separators.size() >= xml_limits::kMaxContentModelDepth)
                return fail(p, "element content model nested too deeply");
            separators.push_back('\0');
            ++p;
            continue;
        }
        if (!(p = parseName(p)))
            return nullptr;
        if (isOccurrence(p, m_cursor.end))
            ++p;
        for (;;) {
            p = skipSpace(p, m_cursor.end);
            if (p >= m_cursor.end)
                return fail(p, "unterminated element content model");
            if (*p == ')') {
                separators.pop_back();
                ++p;
                if (isOccurrence(p, m_cursor.end))
                    ++p;
                if (separators.empty())
                    return p;
                continue;
            }
            if (*p != '|' && *p != ',')
                return fail(p, "malformed element content model");
            char& separator = separators.back();
            if (separator != '\0' && separator != *p)
                return fail(p, "',' and '|' mixed in one content-model group");
            separator = *p++;
            break;
        }
    }
}

const char* XmlDtdParser::parseMixedContent(const char* p) {
    bool names = false;
    for (;;) {
        p = skipSpace(p, m_cursor.end);
        if (p < m_cursor.end && *p == ')') {
            ++p;
            if (p < m_cursor.end && *p == '*')
                return p + 1;
            return names ? fail(p, "mixed content with element names must end in ')*'") : p;
        }
        if (p >= m_cursor.end || *p != '|')
            return fail(p, "malformed mixed content model");
        if (!(p = parseName(skipSpace(p + 1, m_cursor.end))))
            return nullptr;
        names = true;
    }
}

const char* XmlDtdParser::parseNotationDecl(const char* p) {
    p = requireSpace(p);
    if (!p || !(p = parseName(p)) || !(p = requireSpace(p)) || !(p = parseExternalId(p, SystemLiteral::Optional)))
        return nullptr;
    return expectClose(p, "notation declaration");
}

const char* XmlDtdParser::parseExternalId(const char* p, SystemLiteral systemLiteral) {
    if (startsWith(p, kSystem)) {
        p = requireSpace(p + kSystem.size());
        return p ? parseQuoted(p, false) : nullptr;
    }
    if (!startsWith(p, kPublic))
        return fail(p, "expected SYSTEM or PUBLIC");
    if (!(p = requireSpace(p + kPublic.size())) || !(p = parseQuoted(p, true)))
        return nullptr;
    if (systemLiteral == SystemLiteral::Required) {
        p = requireSpace(p);
        return p ? parseQuoted(p, false) : nullptr;
    }
    const char* q = skipSpace(p, m_cursor.end);
    return (q > p && isQuote(q, m_cursor.end)) ? parseQuoted(q, false) : p;
}

const char* XmlDtdParser::parseQuoted(const char* p, bool pubid) {
    if (!isQuote(p, m_cursor.end))
        return fail(p, "quoted literal expected");
    const char quote = *p;
    const auto* close = static_cast<const char*>(std::memchr(p + 1, quote, static_cast<size_t>(m_cursor.end - p - 1)));
    if (!close)
        return fail(p, "unterminated literal");
    if (pubid) {
        for (const char* c = p + 1; c < close; ++c)
            if (!isPubidChar(*c, quote))
                return fail(c, "illegal character in public identifier");
    }
    return close + 1;
}

const char* XmlDtdParser::parseName(const char* p) {
    if (!p)
        return nullptr;
    const char* end = xml_chars::scanName(p, m_cursor.end);
    if (end == p)
        return fail(p, "name expected");
    if (static_cast<uint32_t>(end - p) > xml_limits::kMaxNameLength)
        return fail(p, "name too long");
    return end;
}

const char* XmlDtdParser::requireSpace(const char* p) {
    if (!p)
        return nullptr;
    if (p >= m_cursor.end || !isSpace(*p))
        return fail(p, "whitespace required in markup declaration");
    return skipSpace(p, m_cursor.end);
}

const char* XmlDtdParser::expectClose(const char* p, const char* what) {
    if (!p)
        return nullptr;
    p = skipSpace(p, m_cursor.end);
    if (p < m_cursor.end && *p == '>')
        return p + 1;
    return fail(p, std::string("expected '>' to end the ") + what);
}
