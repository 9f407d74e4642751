#include "references/ElementAsOwnDocument.h"

#include "companion/xml/XmlDocument.h"

namespace {

constexpr std::string_view kDefaultNamespaceAttr = "xmlns";

const XmlDocument::Attribute* defaultNamespaceDeclaration(const XmlDocument& doc, uint32_t element) {
    for (const XmlDocument::Attribute& a : doc.attributes(element))
        if (doc.attributeName(a) == kDefaultNamespaceAttr)
            return &a;
    return nullptr;
}

bool fromEntity(const XmlDocument& doc, uint32_t element) {
    return doc.node(element).flags & XmlDocument::kFromEntity;
}

// The declaration as the nearest declaring ancestor wrote it (its own quotes
// and escapes), or empty when no default namespace is in scope there. False
// when that ancestor came from an entity, whose text is not the document's.
bool inheritedDefaultNamespace(const XmlDocument& doc, uint32_t element, std::string_view& declaration) {
    declaration = {};
    for (uint32_t e = doc.parent(element); e != kNoNode; e = doc.parent(e)) {
        const XmlDocument::Attribute* a = defaultNamespaceDeclaration(doc, e);
        if (!a)
            continue;
        if (fromEntity(doc, e))
            return false;
        if (a->valueLength > 0) {
            // From the name through the closing quote.
            const uint32_t end = a->valueOffset + a->valueLength + 1;
            declaration = doc.source().substr(a->nameOffset, end - a->nameOffset);
        }
        return true;
    }
    return true;
}

} // namespace

bool elementAsOwnDocument(const XmlDocument& doc, uint32_t element, ElementAsOwnDocument& out) {
    if (element >= doc.nodeCount() || !doc.isElement(element) || fromEntity(doc, element))
        return false;
    const std::string_view source = doc.source();
    const uint32_t begin = doc.startTagBegin(element);
    const uint32_t end = doc.endTagEnd(element);
    if (begin >= end || end > source.size())
        return false;
    out.text.assign(source.substr(begin, end - begin));
    out.sourceBegin = begin;
    out.insertedAt = 0;
    out.inserted = 0;
    if (defaultNamespaceDeclaration(doc, element))
        return true;
    std::string_view declaration;
    if (!inheritedDefaultNamespace(doc, element, declaration))
        return false;
    if (declaration.empty())
        return true;
    // Right after "<name".
    out.insertedAt = static_cast<uint32_t>(1 + doc.name(element).size());
    const std::string inserted = " " + std::string(declaration);
    out.text.insert(out.insertedAt, inserted);
    out.inserted = static_cast<uint32_t>(inserted.size());
    return true;
}
