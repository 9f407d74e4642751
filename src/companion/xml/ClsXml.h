#pragma once

#include "companion/text/ExtPtrArray.h"
#include "companion/text/RefCountedObject.h"
#include "companion/text/StringBuffer.h"

#include <cstdint>
#include <memory>
#include <string>

class LogBase;
class XString;
class XmlDocument;

// A handle on one element of a parsed XML document. Handles are
// reference-counted; every operation that returns a ClsXml* returns a new
// handle with one reference that the caller releases (decRefCount), or null.
// All handles of one document share it; the document lives as long as any
// handle does.
//
// Tags are qualified names as written ("ds:Signature"). In a tag argument,
// "*:Name" matches the local name Name under any prefix or none, and "*"
// matches any element. A path joins steps with '|'; a step "Name[N]" selects
// the N-th (0-based) matching child, and "Name[i]" uses the index set by put_I.
class ClsXml : public RefCountedObject {
public:
    static ClsXml* createNewCls();

    // Parses UTF-8 text; this handle becomes the root element. On failure one
    // error line (line, column, reason) goes to the log and false is returned.
    // autoTrim: element content is read with surrounding whitespace removed.
    // The text's bytes are shared with the tree, not copied.
    bool loadXml(StringBuffer& text, bool autoTrim, LogBase& log);
    bool loadXml(std::string_view text, bool autoTrim, LogBase& log);

    // Element identity and content.
    bool isLoaded() const { return m_doc != nullptr; }
    // The parsed document this element belongs to (null when none is loaded).
    const XmlDocument* parsedDocument() const { return m_doc.get(); }
    std::string_view tag() const;
    void getTag(StringBuffer& out) const { out.setString(tag()); }
    // The prefix of the tag ("ds" for "ds:Signature"), empty without one.
    void getTagNamespace(StringBuffer& out) const;
    bool tagEquals(const char* tagPattern) const;
    // The element's text content: its direct text and CDATA, entity
    // references expanded.
    void get_Content(StringBuffer& out) const;
    void getContentSb(StringBuffer& out) const { get_Content(out); }

    // Attributes (names as written).
    bool getAttrValue(const char* name, StringBuffer& out) const;
    bool hasAttribute(const char* name) const;
    int get_NumAttributes() const;
    bool getAttributeName(int index, StringBuffer& out) const;
    bool getAttributeValue(int index, StringBuffer& out) const;

    // Children (elements only).
    int get_NumChildren() const;
    ClsXml* GetChild(int index) const;
    ClsXml* getChild(int index) const { return GetChild(index); }
    // Moves this handle onto its index-th child; false (unchanged) if none.
    bool getChild2(int index);
    ClsXml* getParent() const;

    ClsXml* getChildWithTagUtf8(const char* tagPath) const;
    ClsXml* findChild(const char* tagPath) const { return getChildWithTagUtf8(tagPath); }
    ClsXml* getNthChildWithTagUtf8(const char* tag, int index, LogBase& log) const;
    int numChildrenHavingTagUtf8(const char* tag, LogBase& log) const;
    // Appends a handle on each child with the tag, in order, in one walk.
    void childrenWithTag(const char* tag, ExtPtrArrayRc& out) const;
    bool getChildContentUtf8(const char* tagPath, StringBuffer& out, bool autoTrim) const;
    bool getChildAttrValue(const char* tagPath, const char* attr, StringBuffer& out) const;

    void put_I(int i) { m_i = i; }
    int get_I() const { return m_i; }

    // Depth-first search of the whole document in document order, starting
    // after `after` (from the root when null).
    ClsXml* searchForTag(const ClsXml* after, const char* tag) const;
    // The first element inside this one, in document order, with that tag;
    // the rest of the document is not visited.
    ClsXml* findDescendant(const char* tag) const;
    // Same, for an element with that tag (null tag: any) whose attribute
    // matches valuePattern ('*' is a wildcard).
    ClsXml* searchForAttribute(const ClsXml* after, const char* tag, const char* attr, bool caseSensitive,
                               const char* valuePattern) const;

    // Appends every signature element of the document, in document order.
    bool findSignatures(ExtPtrArrayRc& out, LogBase& log) const;

    // Serializes this element and its subtree; re-parsing the text gives
    // the same tree.
    bool getXml(bool emitXmlDecl, StringBuffer& out, LogBase& log) const;
    void GetXml(XString& out) const;

    // Byte offsets in the source text: start tag [begin, end) and end tag
    // [begin, end); for an empty-element tag the end tag is empty at the
    // start tag's end.
    uint32_t startTagBegin() const;
    uint32_t startTagEnd() const;
    uint32_t endTagBegin() const;
    uint32_t endTagEnd() const;
    // The source text the tree was parsed from.
    std::string_view sourceText() const;

private:
    ClsXml() = default;
    ClsXml(std::shared_ptr<XmlDocument> doc, uint32_t node) : m_doc(std::move(doc)), m_node(node) {}
    ~ClsXml() override = default;
    ClsXml* handleOn(uint32_t node) const;
    bool load(SharedText text, bool autoTrim, LogBase& log);
    // The element a tag path leads to from this one, or kNoNode.
    uint32_t resolve(const char* tagPath) const;
    // The elements of the document, in order, from the one after `after`.
    uint32_t searchStart(const ClsXml* after) const;
    bool isSignature(uint32_t element) const;
    bool inSignatureNamespace(uint32_t element) const;

    std::shared_ptr<XmlDocument> m_doc;
    uint32_t m_node = 0;
    int m_i = 0;
};
