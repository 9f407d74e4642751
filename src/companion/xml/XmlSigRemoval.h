#pragma once

#include "companion/xml/_tvXmlDtd.h"

#include <string_view>

class LogBase;
class StringBuffer;

// Cuts every signature element out of the raw text of a document: its bytes
// from '<' of the start tag through '>' of the end tag go, and nothing else
// is touched (not the whitespace around it, not the rest of the text). A
// signature nested in a removed one goes with it.
//
// A signature is what XmlSigLocate finds: an element named Signature in the
// XML-DSig namespace under any prefix, or an element with an XML-DSig
// SignedInfo and SignatureValue among its children (EBICS's AuthSignature);
// a UBL cac:Signature stays. A signature written in an entity's replacement
// text has no bytes of its own and stays where the entity reference is.
class XmlSigRemoval {
public:
    XmlSigRemoval() = default;
    XmlSigRemoval(const XmlSigRemoval&) = delete;
    XmlSigRemoval& operator=(const XmlSigRemoval&) = delete;

    // out = the text without its signatures. On a text that is not
    // well-formed: false with one error line, and out holds the text
    // unchanged. Removing a signature that is the root element leaves a text
    // without a root. out may be the buffer that holds xml.
    bool removeSignatures(const char* xml, _tvXmlDtd& dtd, StringBuffer& out, LogBase& log);
    bool removeSignatures(std::string_view xml, _tvXmlDtd& dtd, StringBuffer& out, LogBase& log);
};
