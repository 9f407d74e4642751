#pragma once

#include <string>

class ClsXml;
class LogBase;

// Encodes the XML of an ASN.1 node (see Asn1XmlCodec for the form) as DER;
// lengths are written in their shortest form, and nodes marked
// indefinite="1" with an indefinite length and end-of-contents octets.
class Asn1DerWriter {
public:
    // Appends the encoding of the element and its subtree; false, with an
    // error line, when an element is not one of the codec's or its text is
    // not valid for its type.
    static bool write(const ClsXml& element, std::string& der, LogBase& log);

private:
    struct Node;
    static bool node(const ClsXml& element, int depth, std::string& der, LogBase& log);
    static bool describe(const ClsXml& element, Node& n, LogBase& log);
    static bool content(const ClsXml& element, const Node& n, int depth, std::string& out, LogBase& log);
    static void header(const Node& n, size_t length, std::string& der);
};
