#include "companion/canon/CanonNamespaceName.h"

#include "companion/canon/CanonQName.h"
#include "companion/xml/XmlDocument.h"
#include "companion/xml/XmlError.h"

#include <algorithm>

namespace {

bool isAlpha(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// RFC 3986: scheme = ALPHA *( ALPHA / DIGIT / "+" / "-" / "." )
bool isSchemeCharacter(char c) {
    return isAlpha(c) || (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.';
}

} // namespace

bool canon_namespace_name::isRelative(std::string_view name) {
    if (name.empty())
        return false;
    const size_t colon = name.find(':');
    if (colon == std::string_view::npos || !isAlpha(name[0]))
        return true;
    const std::string_view scheme = name.substr(0, colon);
    return !std::all_of(scheme.begin(), scheme.end(), isSchemeCharacter);
}

std::string canon_namespace_name::refusal(std::string_view name, uint32_t offset, std::string_view document) {
    const XmlError at{offset, {}};
    return "The namespace name '" + std::string(name) + "' (" + at.position(document) +
           ") is a relative URI, which canonicalization refuses.";
}

std::string canon_namespace_name::firstRefusal(const XmlDocument& doc) {
    std::string name;
    for (uint32_t n = 0; n < doc.nodeCount(); ++n) {
        if (!doc.isElement(n))
            continue;
        for (const XmlDocument::Attribute& a : doc.attributes(n)) {
            std::string_view prefix;
            if (!CanonQName::isNamespaceDeclaration(doc.attributeName(a), prefix))
                continue;
            name.clear();
            doc.appendAttributeValue(a, name);
            if (isRelative(name))
                return refusal(name, a.nameOffset, doc.source());
        }
    }
    return {};
}
