#include "ades/XadesNames.h"

#include "companion/xml/XmlSigNames.h"

#include <array>

namespace xades_names {

namespace {

bool hasName(const XmlDocument& doc, uint32_t element, std::string_view localName) {
    return doc.isElement(element) && XmlDocument::localName(doc.name(element)) == localName;
}

uint32_t childWhere(const XmlDocument& doc, uint32_t parent, std::string_view localName,
                    bool (*accept)(const XmlDocument&, uint32_t, std::string_view)) {
    if (parent == kNoNode)
        return kNoNode;
    for (uint32_t c = doc.firstChildElement(parent); c != kNoNode; c = doc.nextSiblingElement(c))
        if (accept(doc, c, localName))
            return c;
    return kNoNode;
}

} // namespace

bool isXadesNamespace(std::string_view uri) {
    static constexpr std::array kAll{kV111, kV122, kV132, kV141, kSkXml10};
    for (std::string_view known : kAll)
        if (uri == known)
            return true;
    return false;
}

std::string namespaceOf(const XmlDocument& doc, uint32_t element) {
    std::string uri;
    doc.namespaceUri(element, XmlDocument::prefix(doc.name(element)), uri);
    return uri;
}

bool isDsigElement(const XmlDocument& doc, uint32_t element, std::string_view localName) {
    return hasName(doc, element, localName) && namespaceOf(doc, element) == xml_sig_names::kNamespace;
}

bool isXadesElement(const XmlDocument& doc, uint32_t element, std::string_view localName) {
    return hasName(doc, element, localName) && isXadesNamespace(namespaceOf(doc, element));
}

uint32_t xadesChild(const XmlDocument& doc, uint32_t parent, std::string_view localName) {
    return childWhere(doc, parent, localName, isXadesElement);
}

uint32_t dsigChild(const XmlDocument& doc, uint32_t parent, std::string_view localName) {
    return childWhere(doc, parent, localName, isDsigElement);
}

std::string trimmedContent(const XmlDocument& doc, uint32_t element) {
    std::string text;
    if (element != kNoNode)
        doc.appendContent(element, text);
    const size_t begin = text.find_first_not_of(" \t\r\n");
    if (begin == std::string::npos)
        return {};
    const size_t end = text.find_last_not_of(" \t\r\n");
    return text.substr(begin, end - begin + 1);
}

std::string attributeValue(const XmlDocument& doc, uint32_t element, std::string_view name) {
    std::string value;
    if (element == kNoNode)
        return value;
    if (const XmlDocument::Attribute* a = doc.findAttribute(element, name))
        doc.appendAttributeValue(*a, value);
    return value;
}

} // namespace xades_names
