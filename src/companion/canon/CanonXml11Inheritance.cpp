#include "companion/canon/CanonXml11Inheritance.h"

#include "companion/canon/CanonBaseUri.h"
#include "companion/canon/CanonQName.h"
#include "companion/xml/XmlDtd.h"
#include "companion/xml/XmlTextDecoder.h"

#include <algorithm>

namespace {

constexpr std::string_view kXmlBase = "base";
constexpr std::string_view kXmlBaseQName = "xml:base";
// What an apex inherits as it stands.
constexpr std::string_view kSimpleInheritable[] = {"lang", "space"};

bool isSimpleInheritable(std::string_view localName) {
    return std::find(std::begin(kSimpleInheritable), std::end(kSimpleInheritable), localName) !=
           std::end(kSimpleInheritable);
}

bool isXmlAttribute(const CanonAttribute& a, std::string_view localName) {
    return a.prefix == CanonQName::kXmlPrefix && a.localName == localName;
}

std::string decodedValue(XmlSpan value, uint8_t flags, const XmlDtd& dtd) {
    if (!(flags & kAttrNeedsDecoding))
        return std::string(dtd.slice(value));
    std::string decoded;
    XmlTextDecoder::appendAttribute(dtd.slice(value), dtd, (flags & kAttrTokenized) != 0, decoded);
    return decoded;
}

// The apex's own xml:base, if any, is relative to its ancestors' bases: it is
// joined with each of them, innermost first. With no ancestor base the apex's
// own stands as written; an empty result is not rendered.
void joinXmlBase(std::vector<CanonAttribute>& attributes, std::span<const CanonXmlAttributeInScope> ancestors,
                 const XmlDtd& dtd, std::string& joinedBase) {
    const auto own = std::find_if(attributes.begin(), attributes.end(),
                                  [](const CanonAttribute& a) { return isXmlAttribute(a, kXmlBase); });
    bool joined = false;
    bool started = own != attributes.end();
    std::string base = started ? decodedValue(own->value, own->flags, dtd) : std::string();
    for (auto it = ancestors.rbegin(); it != ancestors.rend(); ++it) {
        if (it->localName != kXmlBase)
            continue;
        std::string ancestor = decodedValue(it->value, it->flags, dtd);
        base = started ? canon_base_uri::join(ancestor, base) : std::move(ancestor);
        started = joined = true;
    }
    if (!joined)
        return;
    if (own != attributes.end())
        attributes.erase(own);
    if (base.empty())
        return;
    joinedBase = std::move(base);
    attributes.push_back(CanonAttribute{kXmlBaseQName, CanonQName::kXmlPrefix, kXmlBase, CanonQName::kXmlNamespace,
                                        XmlSpan{}, kCanonComputedValue});
}

} // namespace

namespace canon_xml11_inheritance {

// The nearest ancestor's value wins; the apex's own wins over all.
void addInherited(std::vector<CanonAttribute>& attributes, std::span<const CanonXmlAttributeInScope> ancestors,
                  const XmlDtd& dtd, std::string& joinedBase) {
    for (auto it = ancestors.rbegin(); it != ancestors.rend(); ++it) {
        if (!isSimpleInheritable(it->localName))
            continue;
        const bool present = std::any_of(attributes.begin(), attributes.end(),
                                         [&](const CanonAttribute& a) { return isXmlAttribute(a, it->localName); });
        if (!present)
            attributes.push_back(CanonAttribute{it->qname, CanonQName::kXmlPrefix, it->localName,
                                                CanonQName::kXmlNamespace, it->value, it->flags});
    }
    joinXmlBase(attributes, ancestors, dtd, joinedBase);
}

} // namespace canon_xml11_inheritance
