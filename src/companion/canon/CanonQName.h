#pragma once

#include <algorithm>
#include <string_view>

// A qualified name as written, split at its first colon. The scanner takes
// names as written, so the split is ours; "xmlns" and "xmlns:p" are
// namespace declarations, never attributes.
struct CanonQName {
    // Bound whether declared or not.
    static constexpr std::string_view kXmlPrefix = "xml";
    static constexpr std::string_view kXmlNamespace = "http://www.w3.org/XML/1998/namespace";

    std::string_view prefix; // empty when the name has none
    std::string_view localName;

    // Names are short: a plain loop finds the colon sooner than memchr.
    static CanonQName split(std::string_view qname) {
        const auto colon = static_cast<size_t>(std::find(qname.begin(), qname.end(), ':') - qname.begin());
        if (colon == qname.size())
            return CanonQName{{}, qname};
        return CanonQName{qname.substr(0, colon), qname.substr(colon + 1)};
    }

    // True for "xmlns" (prefix left empty: the default namespace) and "xmlns:p".
    static bool isNamespaceDeclaration(std::string_view qname, std::string_view& declaredPrefix) {
        constexpr std::string_view kXmlns = "xmlns";
        if (!qname.starts_with(kXmlns))
            return false;
        if (qname.size() == kXmlns.size()) {
            declaredPrefix = {};
            return true;
        }
        if (qname[kXmlns.size()] != ':')
            return false;
        declaredPrefix = qname.substr(kXmlns.size() + 1);
        return true;
    }
};
