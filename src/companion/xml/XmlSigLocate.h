#pragma once

#include "companion/xml/XmlSigPositions.h"
#include "companion/xml/_tvXmlDtd.h"

#include <cstdint>
#include <string_view>

class LogBase;
class XmlDocument;

// Finds one signature element in the raw text of a document and reports
// where it and the parts that callers edit or canonicalize lie, as byte
// offsets into that text.
//
// A signature is an element named Signature in the XML-DSig namespace under
// any prefix (or none), or any other element with an XML-DSig SignedInfo and
// SignatureValue among its children (EBICS's AuthSignature). Prefixes are
// resolved through the xmlns declarations in scope, so a UBL cac:Signature is
// not one; text inside comments, CDATA and attribute values never matches.
//
// Inside the found signature, parts are matched by local name under any
// prefix, along the XML-DSig and XAdES structure, and never inside a
// signature nested in it (a XAdES countersignature):
//   SignedInfo, SignatureValue, Object        children of the signature
//   QualifyingProperties                      child of an Object
//   SignedProperties, UnsignedProperties      children of that QualifyingProperties
//   UnsignedSignatureProperties               child of that UnsignedProperties
// The first of each kind counts. An element written in an entity's
// replacement text has no bytes of its own and is reported absent; so is a
// signature written there, which is never found.
//
// Each find is a single pass that stops as soon as the signature's end tag
// has been read, so faults in the markup behind it go unnoticed (bytes that
// are not UTF-8 or not XML characters fail anywhere). A fault before that
// makes the find fail with one error line. Not finding a signature logs
// nothing (callers report that in their own words); an empty id or digest
// value finds nothing. After a failed find every position is 0; after a
// successful one the members of XmlSigPositions describe the signature.
class XmlSigLocate : public XmlSigPositions {
public:
    XmlSigLocate() = default;
    XmlSigLocate(const XmlSigLocate&) = delete;
    XmlSigLocate& operator=(const XmlSigLocate&) = delete;

    // The first signature in document order whose Id attribute (exactly
    // "Id", no prefix) has the value id, character for character after
    // entity and character references are decoded.
    bool FindXmlSigById(const char* id, const char* xml, _tvXmlDtd& dtd, LogBase& log);
    bool FindXmlSigById(std::string_view id, std::string_view xml, _tvXmlDtd& dtd, LogBase& log);

    // The first signature in document order whose SignedInfo holds a
    // Reference with a DigestValue equal to digestValue, XML whitespace
    // (space, tab, CR, LF) ignored on both sides, so a digest that the
    // signer wrapped over lines still matches.
    bool FindXmlSigByRefDigest(const char* digestValue, const char* xml, _tvXmlDtd& dtd, LogBase& log);
    bool FindXmlSigByRefDigest(std::string_view digestValue, std::string_view xml, _tvXmlDtd& dtd, LogBase& log);

    // The signature whose start tag begins at the byte offset: a caller that
    // holds the element itself finds it where it stands, whatever another
    // signature's Id or digests say.
    bool FindXmlSigAt(uint32_t offset, std::string_view xml, _tvXmlDtd& dtd, LogBase& log);

    // What FindXmlSigById(id, xml) finds, read from the tree of xml without a
    // walk, when the answer is the signature whose start tag begins at
    // `offset`: that element is the first in the tree that may be a
    // signature, its Id is the id and no element inside it has that Id too.
    // False when any of those does not hold (the caller then searches).
    bool FindXmlSigByIdInTree(std::string_view id, uint32_t offset, std::string_view xml);

    // A tree parsed from the text that will be searched: it is read instead
    // of the text (a tree of another text is ignored). It must outlive the
    // finds.
    void setParsedDocument(const XmlDocument* doc) { m_parsed = doc; }

private:
    enum class Mode : uint8_t { ById, ByRefDigest, AtOffset };
    class Search;
    bool find(Mode mode, std::string_view key, uint32_t offset, std::string_view xml, _tvXmlDtd& dtd, LogBase& log);

    const XmlDocument* m_parsed = nullptr;
};
