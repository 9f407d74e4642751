#pragma once

#include <string_view>

// How the XML of an ASN.1 node writes its value.
enum class Asn1ValueForm {
    Hex,      // the content octets in upper-case hex (INTEGER as encoded: 128 is "0080")
    Base64,   // the content octets in base64
    Bits,     // attribute unused="n", then base64 of the bits' octets
    Oid,      // dotted decimal
    Text,     // the octets as UTF-8 text
    Ucs2,     // BMPString as UTF-8 text
    Ucs4,     // UniversalString as UTF-8 text
    Empty,    // no content (NULL)
    Children, // constructed: one child element per contained node
};

struct Asn1TypeName {
    int tag;
    std::string_view element;
    Asn1ValueForm form;
};

// The element names of ASN.1 nodes. Universal types have names of their
// own ("sequence", "int", "oid", ...); other universal tags, and the
// application, context-specific and private classes, are written as
// "universalTag", "application", "contextSpecific" and "private" with the
// tag number in a "tag" attribute.
class Asn1TypeNames {
public:
    // Null for a universal tag without a name of its own.
    static const Asn1TypeName* byTag(int universalTag);
    static const Asn1TypeName* byElement(std::string_view element);
    // The element for a tag class other than a named universal type
    // (V_ASN1_UNIVERSAL, V_ASN1_APPLICATION, ...).
    static std::string_view classElement(int tagClass);
    // The tag class of such an element; false for any other name.
    static bool classOfElement(std::string_view element, int& tagClass);
};
