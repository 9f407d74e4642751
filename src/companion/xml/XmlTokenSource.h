#pragma once

#include "companion/xml/XmlToken.h"

#include <cstdint>
#include <string>

// A document as a stream of tokens: read from its text by XmlScanner, or
// replayed from a tree that was parsed from it before (XmlTreeReplay), so
// that a document is scanned once however many passes read it.
class XmlTokenSource {
public:
    virtual ~XmlTokenSource() = default;

    // The next construct, or false at the end or on the first error.
    virtual bool next() = 0;
    virtual const XmlToken& token() const = 0;
    virtual bool failed() const = 0;
    // "XML parse error at line L, column C: reason".
    virtual std::string errorMessage() const = 0;
    // Open elements, counting the one a StartTag token just opened.
    virtual uint32_t depth() const = 0;
    virtual bool inEntity() const = 0;
    // The outermost entity reference being expanded, in document offsets.
    virtual XmlSpan entityReference() const = 0;
};
