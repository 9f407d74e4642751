#pragma once

#include <cstdint>
#include <span>

// A range of the text a scanner reads. Offsets below the document's size are
// bytes of the document; higher offsets address the replacement texts of the
// DTD's entities (see XmlDtd::slice).
struct XmlSpan {
    uint32_t offset = 0;
    uint32_t length = 0;
    uint32_t end() const { return offset + length; }
};

enum class XmlTokenKind : uint8_t {
    StartTag,              // name, attributes; begin/end: '<' through '>'
    EndTag,                // name; empty at the start tag's end for "<a/>"
    Text,                  // content: raw character data (references undecoded)
    CData,                 // content: the section's text
    Comment,               // content: between "<!--" and "-->"
    ProcessingInstruction, // name: target; content: data
    Doctype,               // begin/end: "<!DOCTYPE" through its '>'
    EntityStart,           // name; begin/end: the reference; tokens of its text follow
    EntityEnd,
};

// What a raw text or attribute value needs before it can be used.
enum XmlTextFlag : uint8_t {
    kTextHasReferences = 1,     // '&'
    kTextHasCarriageReturn = 2, // line ends to normalize
};

enum XmlAttributeFlag : uint8_t {
    kAttrNeedsDecoding = 1, // references or whitespace to normalize
    kAttrDefaulted = 2,     // supplied by an ATTLIST default, not written in the tag
    kAttrTokenized = 4,     // declared with a non-CDATA type: spaces collapse
    kAttrDeclaredId = 8,    // declared of type ID: its value names the element
};

struct XmlAttribute {
    XmlSpan name;
    XmlSpan value; // raw, between the quotes
    uint8_t flags = 0;
};

struct XmlToken {
    XmlTokenKind kind = XmlTokenKind::Text;
    uint32_t begin = 0;
    uint32_t end = 0;
    XmlSpan name;
    XmlSpan content;
    uint8_t textFlags = 0;
    bool selfClosing = false;
    std::span<const XmlAttribute> attributes;
};
