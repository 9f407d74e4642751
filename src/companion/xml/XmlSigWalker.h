#pragma once

#include "companion/xml/XmlDtd.h"
#include "companion/xml/XmlTokenSource.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class XmlDocument;

// Walks the elements and character data of a document for the code that
// finds signatures in raw text. It resolves each element's namespace from
// the xmlns declarations in scope (prefixes are never taken at face value)
// and, when an element ends, tells whether it is a signature: an element
// named Signature in the XML-DSig namespace, or any element with an XML-DSig
// SignedInfo and SignatureValue among its children (EBICS's AuthSignature).
// Markup inside comments, CDATA sections, processing instructions and
// attribute values is never taken for an element.
class XmlSigWalker {
public:
    enum class Event : uint8_t { Start, End, Text };

    struct Element {
        std::string_view localName;
        // Document offsets: '<' of the start tag and just past the end tag
        // (end is known at End). An element written in an entity's text has
        // no bytes of its own; it reports the outermost entity reference.
        uint32_t begin = 0;
        uint32_t end = 0;
        bool inSignatureNamespace = false;
        bool inDocument = true;
        bool hasSignedInfo = false;     // an XML-DSig SignedInfo child
        bool hasSignatureValue = false; // an XML-DSig SignatureValue child

        bool isSignature() const;
        uint32_t length() const { return end - begin; }
    };

    // The DTD's document is the text walked; it must outlive the walker.
    // `parsed`, when not null, may be the tree of that text (it is used only
    // if it is); the walk then starts at the first element that may be a
    // signature, after the start tags of its ancestors, or at the element
    // whose start tag begins at `from` when the caller knows it is later.
    explicit XmlSigWalker(XmlDtd& dtd, const XmlDocument* parsed = nullptr, uint32_t from = 0);

    // The next event, or false at the end of the document or on the first
    // well-formedness error (then failed()).
    bool next();
    Event event() const { return m_event; }
    bool failed() const { return m_tokens && m_tokens->failed(); }
    // "XML parse error at line L, column C: reason".
    std::string errorMessage() const { return m_tokens ? m_tokens->errorMessage() : std::string(); }

    // Start, End: the element; Text: the element the text is in.
    const Element& element() const { return m_elements.back(); }
    // The element's parent, or null for the root.
    const Element* parent() const;
    // Start: the decoded value of the attribute with exactly this name.
    bool attribute(std::string_view name, std::string& value) const;
    // Text: appends the decoded character data.
    void appendText(std::string& out) const;

private:
    struct Binding {
        std::string_view prefix;
        bool signatureNamespace;
        size_t depth;
    };

    static std::unique_ptr<XmlTokenSource> tokenSource(XmlDtd& dtd, const XmlDocument* parsed, uint32_t from);
    static uint32_t firstPossibleSignature(const XmlDocument& doc);
    bool startElement();
    void endElement();
    void closePending();
    void declareNamespaces(size_t depth);
    bool prefixInSignatureNamespace(std::string_view prefix) const;
    void noteChildOfParent();

    std::unique_ptr<XmlTokenSource> m_tokens; // null: nothing to walk
    const XmlDtd& m_dtd;
    std::vector<Element> m_elements;
    std::vector<Binding> m_bindings;
    Event m_event = Event::Text;
    bool m_closePending = false;
};
