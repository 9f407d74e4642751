#pragma once

#include "companion/xml/XmlDocument.h"

#include <cstdint>
#include <string_view>

// Finding XML-DSig and XAdES elements by local name and namespace. XAdES
// elements are accepted in every namespace its versions used (1.1.1 of the
// older DigiDoc signers, 1.2.2, 1.3.2 and the 1.4.1 additions; SK-XML 1.0's).
namespace xades_names {

inline constexpr std::string_view kV111 = "http://uri.etsi.org/01903/v1.1.1#";
inline constexpr std::string_view kV122 = "http://uri.etsi.org/01903/v1.2.2#";
inline constexpr std::string_view kV132 = "http://uri.etsi.org/01903/v1.3.2#";
inline constexpr std::string_view kV141 = "http://uri.etsi.org/01903/v1.4.1#";
// DigiDoc's SK-XML 1.0 wrote the properties in the XML-DSig namespace.
inline constexpr std::string_view kSkXml10 = "http://www.w3.org/2000/09/xmldsig#";

bool isXadesNamespace(std::string_view uri);
bool isDsigElement(const XmlDocument& doc, uint32_t element, std::string_view localName);
bool isXadesElement(const XmlDocument& doc, uint32_t element, std::string_view localName);
// The namespace URI of the element's own name ("" when none).
std::string namespaceOf(const XmlDocument& doc, uint32_t element);

// The first child element with the local name in a XAdES (or, for the
// Dsig variants, the XML-DSig) namespace; kNoNode when none.
uint32_t xadesChild(const XmlDocument& doc, uint32_t parent, std::string_view localName);
uint32_t dsigChild(const XmlDocument& doc, uint32_t parent, std::string_view localName);
// The element's character data, whitespace trimmed.
std::string trimmedContent(const XmlDocument& doc, uint32_t element);
// The attribute's value, or "" when absent.
std::string attributeValue(const XmlDocument& doc, uint32_t element, std::string_view name);

// Calls visit(child) for each child element with the local name in a XAdES
// namespace.
template <class Visit>
void forEachXadesChild(const XmlDocument& doc, uint32_t parent, std::string_view localName, Visit&& visit) {
    for (uint32_t c = doc.firstChildElement(parent); c != kNoNode; c = doc.nextSiblingElement(c))
        if (isXadesElement(doc, c, localName))
            visit(c);
}

} // namespace xades_names
