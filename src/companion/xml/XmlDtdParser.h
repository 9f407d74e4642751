#pragma once

#include "companion/xml/XmlDtd.h"
#include "companion/xml/XmlError.h"

#include <cstdint>
#include <string>

// Reads a document type declaration and its internal subset into an XmlDtd.
// An external subset and external entities are noted but never fetched.
// Parameter entities declared in the internal subset are expanded between
// declarations, the only place the internal subset allows them.
class XmlDtdParser {
public:
    XmlDtdParser(XmlDtd& dtd, XmlError& error) : m_dtd(dtd), m_error(error) {}

    // `begin` is the document offset of "<!DOCTYPE". Returns the offset just
    // after the declaration, or 0 with the error set.
    uint32_t parseDoctype(uint32_t begin);

private:
    // Marks an offset that is not there: no parameter entity is being read.
    static constexpr uint32_t kNoOffset = UINT32_MAX;
    // The text being read: the document, or a parameter entity's replacement.
    struct Cursor {
        const char* base = nullptr;
        const char* end = nullptr;
        uint32_t baseOffset = 0;
        uint32_t faultOffset = kNoOffset; // inside a parameter entity: its reference, where faults are reported
    };
    Cursor documentCursor() const;
    // An entity declaration waits until the cursor's position is saved:
    // storing its text may move the parameter-entity text being read.
    struct PendingEntity {
        std::string name;
        XmlDtd::Entity entity;
        bool parameter = false;
        bool active = false;
    };

    bool parseInternalSubset(uint32_t& pos);
    const char* parseDeclaration(const char* p);
    const char* parseEntityDecl(const char* p);
    const char* parseEntityValue(const char* p);
    const char* parseAttlistDecl(const char* p);
    const char* parseAttributeType(const char* p, XmlDtd::AttributeDecl& decl);
    const char* parseDefaultValue(const char* p, XmlDtd::AttributeDecl& decl);
    const char* parseElementDecl(const char* p);
    const char* parseContentModel(const char* p);
    const char* parseMixedContent(const char* p);
    const char* parseNotationDecl(const char* p);
    enum class SystemLiteral : uint8_t { Required, Optional };
    const char* parseExternalId(const char* p, SystemLiteral systemLiteral);
    const char* parseQuoted(const char* p, bool pubid);
    const char* parseName(const char* p);
    const char* requireSpace(const char* p);
    const char* expectClose(const char* p, const char* what);
    const char* parseParameterReference(const char* p, bool& entered, XmlSpan& text);
    void storePendingEntity();

    uint32_t offsetOf(const char* p) const { return m_cursor.baseOffset + static_cast<uint32_t>(p - m_cursor.base); }
    const char* fail(const char* at, std::string reason);
    bool startsWith(const char* p, std::string_view word) const {
        return static_cast<size_t>(m_cursor.end - p) >= word.size() && std::string_view(p, word.size()) == word;
    }

    XmlDtd& m_dtd;
    XmlError& m_error;
    Cursor m_cursor;
    PendingEntity m_pending;
    std::string m_text; // scratch for an entity's replacement text
};
