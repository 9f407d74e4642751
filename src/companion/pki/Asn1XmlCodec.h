#pragma once

class ClsXml;
class DataBuffer;
class LogBase;
class StringBuffer;

// ASN.1 (DER, and BER's indefinite lengths) as XML and back: one element per
// node, named by its type, so that a path of element names reaches a field
// ("sequence|octets" is the hashed message of a TSTInfo's message imprint).
//
//   sequence, set                     constructed; one child per member
//   int, enumerated, bool, real       the content octets in upper-case hex, as
//                                     encoded (two's complement: 128 is "0080")
//   oid                               dotted decimal ("2.16.840.1.101.3.4.2.1")
//   octets                            base64
//   bits                              unused="n" (padding bits of the last
//                                     octet), then base64 of the bit octets
//   null                              empty
//   utf8, printable, ia5, numeric, visible, t61, general, graphic, videotex,
//   utctime, gentime, objectDescriptor   the text as it is
//   bmp, universalString              the text, as UTF-8
//   contextSpecific, application, private, universalTag (a universal tag
//                                     without a name of its own): attributes
//                                     tag="n" and constructed="0|1"; children
//                                     when constructed, else hex
//
// A node that is not in its type's usual form says so: constructed="1" on a
// primitive type (BER constructed strings), indefinite="1" on an indefinite
// length. A value that its type's text cannot show exactly (a string with a
// control character or white space at an end, text that is not UTF-8, an
// OID that is not minimally encoded) is written in hex with enc="hex". So
// DER converted to XML and back gives the same bytes.
class Asn1XmlCodec {
public:
    // Renders the ASN.1 value at the start of der, replacing xmlOut.
    // withXmlDecl: begin with an XML declaration. compact: no white space
    // between elements (else one element per line, indented). bytesUsed:
    // when given, receives the value's length and bytes after it are
    // allowed; when null, bytes after the value are an error. False, with an
    // error line, when the bytes are not ASN.1.
    static bool derToXml(const DataBuffer& der, bool withXmlDecl, bool compact, StringBuffer& xmlOut,
                         unsigned* bytesUsed, LogBase& log);
    // Encodes an element of that XML and its subtree, replacing der.
    static bool xmlToDer(const ClsXml& node, DataBuffer& der, LogBase& log);
};
