#pragma once

#include "companion/xml/XmlToken.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

// What the internal DTD subset declares that a non-validating reader must
// honour: general entities (expanded in content and attribute values) and
// attribute defaults. It also holds the entities' replacement texts, which
// are addressed by offsets after the document's own bytes, so that a span
// anywhere in the scanned text is one (offset, length) pair.
class XmlDtd {
public:
    enum class EntityKind : uint8_t { Internal, External, Unparsed };
    struct Entity {
        XmlSpan replacement; // Internal only
        EntityKind kind = EntityKind::Internal;
        // No markup, references, line ends or "]]>": the text can stand in
        // for the reference as it is.
        bool plainText = false;
        bool inUse = false; // being expanded in content (loop detection)
        enum class AttrCheck : uint8_t { Unchecked, Checking, Valid };
        AttrCheck attrCheck = AttrCheck::Unchecked;
        uint64_t attrLength = 0; // expanded length in an attribute value, once Valid
    };
    struct AttributeDecl {
        XmlSpan name;
        XmlSpan defaultValue;
        bool hasDefault = false;
        bool tokenized = false; // any type but CDATA
        bool isId = false;      // type ID
        bool valueNeedsDecoding = false;
    };

    explicit XmlDtd(std::string_view document) : m_document(document) {}
    XmlDtd(const XmlDtd&) = delete;
    XmlDtd& operator=(const XmlDtd&) = delete;

    std::string_view document() const { return m_document; }
    std::string_view slice(XmlSpan span) const;
    // The first byte of a non-empty span that starts at offset.
    const char* pointer(uint32_t offset) const;
    // Stores a text after the document's bytes and returns its span.
    XmlSpan appendText(std::string_view text);

    Entity* findEntity(std::string_view name);
    const Entity* findEntity(std::string_view name) const;
    // The first declaration of a name is binding; false for a later one.
    bool declareEntity(std::string_view name, const Entity& entity);
    const Entity* findParameterEntity(std::string_view name) const;
    bool declareParameterEntity(std::string_view name, const Entity& entity);

    bool hasAttributeDecls() const { return !m_attributes.empty(); }
    const std::vector<AttributeDecl>* attributesOf(std::string_view element) const;
    void declareAttribute(std::string_view element, const AttributeDecl& decl);

    // Checks a reference to the named entity inside an attribute value:
    // declared (or tolerated), internal, no '<' and no loop in its expansion.
    // On success `length` is the length it expands to.
    bool checkAttributeUse(std::string_view name, uint32_t nesting, uint64_t& length, std::string& reason);

    // How many bytes entity references may add to this document.
    uint64_t expansionBudget() const;

    void setHasExternalSubset() { m_hasExternalSubset = true; }
    void setStandalone(bool standalone) { m_standalone = standalone; }
    // References to undeclared entities are tolerated when their declarations
    // may be in an external subset, which is never read.
    bool toleratesUndeclared() const { return m_hasExternalSubset && !m_standalone; }

private:
    std::string_view entityTextSlice(XmlSpan span) const;

    struct NameHash {
        using is_transparent = void;
        size_t operator()(std::string_view s) const { return std::hash<std::string_view>{}(s); }
    };
    template <class T> using NameMap = std::unordered_map<std::string, T, NameHash, std::equal_to<>>;

    std::string_view m_document;
    std::string m_entityTexts;
    NameMap<Entity> m_entities;
    NameMap<Entity> m_parameterEntities;
    NameMap<std::vector<AttributeDecl>> m_attributes;
    bool m_hasExternalSubset = false;
    bool m_standalone = false;
};

// Inline: readers slice the document for nearly every name and value.
inline std::string_view XmlDtd::slice(XmlSpan span) const {
    if (span.offset < m_document.size())
        return m_document.substr(span.offset, span.length);
    return entityTextSlice(span);
}
