#pragma once

#include <cstdint>
#include <string>
#include <string_view>

class XmlDocument;

// An element's text taken out of its document, as signers that sign a part
// as a document of its own saw it: its bytes from the start tag through the
// end tag, with the default namespace that was in scope declared on it when
// it declares none itself. Nothing else of the ancestors' context (prefixed
// namespaces, xml:* attributes) comes along.
struct ElementAsOwnDocument {
    std::string text;
    uint32_t sourceBegin = 0; // where the element starts in the document
    uint32_t insertedAt = 0;  // where, in `text`, the declaration was inserted
    uint32_t inserted = 0;    // its length (0: none was)

    // The position in `text` of a byte of the element in the document.
    uint32_t fromSource(uint32_t offset) const {
        const uint32_t local = offset - sourceBegin;
        return local >= insertedAt ? local + inserted : local;
    }
};

// False when the element is not one of the document's.
bool elementAsOwnDocument(const XmlDocument& doc, uint32_t element, ElementAsOwnDocument& out);
