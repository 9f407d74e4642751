#pragma once

#include "companion/xml/XmlDtd.h"
#include "companion/xml/XmlError.h"
#include "companion/xml/XmlNamespaceScope.h"
#include "companion/xml/XmlToken.h"
#include "companion/xml/XmlTokenSource.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

// A pull tokenizer over a UTF-8 document that checks well-formedness as it
// goes. Each next() yields one construct with its byte offsets; the document
// is never copied and no token allocates. The DOCTYPE's internal subset is
// read into the XmlDtd given at construction: its attribute defaults are
// added to start tags (flagged kAttrDefaulted), and a reference to an entity
// whose text holds markup is expanded in place, between EntityStart and
// EntityEnd tokens, with offsets into the DTD's entity texts. Other
// references stay in the raw text, flagged for decoding (XmlTextDecoder).
//
// Names are taken as written; a start tag is also held to the rules of
// Namespaces in XML that bind (XmlNamespaceScope), while an undeclared prefix
// or a name that is no QName is let through.
class XmlScanner final : public XmlTokenSource {
public:
    // The DTD's document is the text scanned; both must outlive the scanner.
    // The text is checked whole first; `textChecked`, if given, is called
    // every few megabytes of that check with how far it has got.
    explicit XmlScanner(XmlDtd& dtd, const std::function<void(size_t offset)>& textChecked = {});
    XmlScanner(const XmlScanner&) = delete;
    XmlScanner& operator=(const XmlScanner&) = delete;

    // The next construct, or false at the end of the document or on the
    // first well-formedness error (then failed()). The token, with its
    // attributes, stays valid until the next call.
    bool next() override;
    const XmlToken& token() const override { return m_token; }

    bool failed() const override { return m_error.isSet(); }
    const XmlError& error() const { return m_error; }
    // "XML parse error at line L, column C: reason".
    std::string errorMessage() const override { return m_error.describe(m_dtd.document()); }

    // Open elements, counting the one a StartTag token just opened.
    uint32_t depth() const override { return static_cast<uint32_t>(m_elements.size()); }
    bool inEntity() const override { return m_inputs.size() > 1; }
    // The outermost entity reference being expanded, in document offsets.
    XmlSpan entityReference() const override { return inEntity() ? m_inputs[1].reference : XmlSpan{}; }
    // The number of '<' in the document: a bound for the nodes of a tree.
    size_t lessThanCount() const { return m_lessThanCount; }
    std::string_view slice(XmlSpan span) const { return m_dtd.slice(span); }

private:
    enum class Phase : uint8_t { Start, Prolog, Content, Epilog, Done };
    struct Input {
        const char* base = nullptr;
        const char* end = nullptr;
        const char* p = nullptr;
        uint32_t baseOffset = 0;
        XmlDtd::Entity* entity = nullptr;
        uint32_t depthAtEntry = 0;
        XmlSpan reference; // in the enclosing input
    };

    bool start(const std::function<void(size_t)>& textChecked);
    bool readXmlDeclaration(const char*& p);
    bool nextOutsideRoot();
    bool nextInContent();
    bool emitPendingEnd();
    bool scanText(Input& in);
    bool enterEntity(Input& in, const char* reference, XmlSpan name, const char* referenceEnd, XmlDtd::Entity& entity);
    bool leaveEntity();
    bool scanStartTag(Input& in, const char* p);
    const char* scanAttribute(Input& in, const char* p);
    bool checkUniqueAttributes(const Input& in);
    bool failNamespaces(const Input& in, const char* tag);
    void addAttributeDefaults(std::string_view element);
    bool scanEndTag(Input& in, const char* p);
    const char* endTagNameEnd(const Input& in, const char* nameBegin) const;
    bool scanComment(Input& in, const char* p);
    bool scanProcessingInstruction(Input& in, const char* p);
    bool scanCData(Input& in, const char* p);
    bool scanDoctype(Input& in, const char* p);
    bool addExpansion(uint64_t bytes, const char* at);
    void closeElement();

    uint32_t offsetOf(const Input& in, const char* p) const {
        return in.baseOffset + static_cast<uint32_t>(p - in.base);
    }
    XmlSpan spanOf(const Input& in, const char* begin, const char* end) const {
        return XmlSpan{offsetOf(in, begin), static_cast<uint32_t>(end - begin)};
    }
    bool fail(const char* at, std::string reason);
    const char* failAt(const char* at, std::string reason);
    void setToken(XmlTokenKind kind, uint32_t begin, uint32_t end);

    XmlDtd& m_dtd;
    std::vector<Input> m_inputs;
    std::vector<XmlSpan> m_elements;
    std::vector<XmlAttribute> m_attributes;
    std::vector<uint32_t> m_order; // scratch for the duplicate-attribute check
    XmlNamespaceScope m_namespaces;
    XmlToken m_token;
    XmlError m_error;
    Phase m_phase = Phase::Start;
    bool m_pendingEnd = false;
    bool m_seenDoctype = false;
    uint64_t m_expanded = 0;
    uint64_t m_expansionBudget = 0;
    size_t m_lessThanCount = 0;
};
