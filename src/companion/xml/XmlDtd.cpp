#include "companion/xml/XmlDtd.h"

#include "companion/xml/XmlLimits.h"
#include "companion/xml/XmlReference.h"

#include <algorithm>
#include <cstring>

namespace {

uint64_t saturatingAdd(uint64_t a, uint64_t b) {
    return a > UINT64_MAX - b ? UINT64_MAX : a + b;
}

size_t utf8Length(uint32_t cp) {
    return cp < 0x80 ? 1 : cp < 0x800 ? 2 : cp < 0x10000 ? 3 : 4;
}

} // namespace

std::string_view XmlDtd::entityTextSlice(XmlSpan span) const {
    return std::string_view(m_entityTexts).substr(span.offset - m_document.size(), span.length);
}

const char* XmlDtd::pointer(uint32_t offset) const {
    if (offset < m_document.size())
        return m_document.data() + offset;
    return m_entityTexts.data() + (offset - m_document.size());
}

XmlSpan XmlDtd::appendText(std::string_view text) {
    const auto offset = static_cast<uint32_t>(m_document.size() + m_entityTexts.size());
    m_entityTexts.append(text);
    return XmlSpan{offset, static_cast<uint32_t>(text.size())};
}

XmlDtd::Entity* XmlDtd::findEntity(std::string_view name) {
    const auto it = m_entities.find(name);
    return it == m_entities.end() ? nullptr : &it->second;
}

const XmlDtd::Entity* XmlDtd::findEntity(std::string_view name) const {
    const auto it = m_entities.find(name);
    return it == m_entities.end() ? nullptr : &it->second;
}

bool XmlDtd::declareEntity(std::string_view name, const Entity& entity) {
    return m_entities.try_emplace(std::string(name), entity).second;
}

const XmlDtd::Entity* XmlDtd::findParameterEntity(std::string_view name) const {
    const auto it = m_parameterEntities.find(name);
    return it == m_parameterEntities.end() ? nullptr : &it->second;
}

bool XmlDtd::declareParameterEntity(std::string_view name, const Entity& entity) {
    return m_parameterEntities.try_emplace(std::string(name), entity).second;
}

const std::vector<XmlDtd::AttributeDecl>* XmlDtd::attributesOf(std::string_view element) const {
    const auto it = m_attributes.find(element);
    return it == m_attributes.end() ? nullptr : &it->second;
}

void XmlDtd::declareAttribute(std::string_view element, const AttributeDecl& decl) {
    std::vector<AttributeDecl>& decls = m_attributes[std::string(element)];
    const std::string_view name = slice(decl.name);
    const bool known =
        std::any_of(decls.begin(), decls.end(), [&](const AttributeDecl& d) { return slice(d.name) == name; });
    if (!known)
        decls.push_back(decl);
}

uint64_t XmlDtd::expansionBudget() const {
    return std::max<uint64_t>(xml_limits::kMinEntityExpansionBytes,
                              xml_limits::kEntityExpansionFactor * m_document.size());
}

bool XmlDtd::checkAttributeUse(std::string_view name, uint32_t nesting, uint64_t& length, std::string& reason) {
    length = 0;
    Entity* entity = findEntity(name);
    if (!entity) {
        if (toleratesUndeclared())
            return true;
        reason = "undefined entity '" + std::string(name) + "'";
        return false;
    }
    if (entity->kind != EntityKind::Internal) {
        reason = "attribute value refers to external entity '" + std::string(name) + "'";
        return false;
    }
    if (entity->attrCheck == Entity::AttrCheck::Valid) {
        length = entity->attrLength;
        return true;
    }
    if (entity->attrCheck == Entity::AttrCheck::Checking) {
        reason = "entity '" + std::string(name) + "' refers to itself";
        return false;
    }
    if (nesting >= xml_limits::kMaxEntityNesting) {
        reason = "entity references nested too deeply";
        return false;
    }
    entity->attrCheck = Entity::AttrCheck::Checking;
    const std::string_view text = slice(entity->replacement);
    const char* p = text.data();
    const char* const end = p + text.size();
    uint64_t total = 0;
    while (p < end) {
        const char* special = static_cast<const char*>(std::memchr(p, '&', static_cast<size_t>(end - p)));
        const char* stop = special ? special : end;
        if (std::memchr(p, '<', static_cast<size_t>(stop - p))) {
            reason = "'<' in entity '" + std::string(name) + "' is not allowed in attribute values";
            return false;
        }
        total += static_cast<uint64_t>(stop - p);
        if (!special)
            break;
        XmlReference ref;
        if (!XmlReference::parse(special, end, ref, reason))
            return false;
        uint64_t inner = utf8Length(ref.codePoint);
        if (ref.kind == XmlReference::Kind::Entity && !checkAttributeUse(ref.name, nesting + 1, inner, reason))
            return false;
        total = saturatingAdd(total, inner);
        p = ref.end;
    }
    entity->attrCheck = Entity::AttrCheck::Valid;
    entity->attrLength = total;
    length = total;
    return true;
}
