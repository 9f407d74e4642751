#include "transforms/SignatureTimeStampFragment.h"
#include "verifier/AlgorithmUris.h"

namespace timestamp_fragment {

namespace {

using algorithm_uri::kExclusiveC14n;

constexpr std::string_view kXadesNamespace = "http://uri.etsi.org/01903/v1.3.2#";
constexpr std::string_view kDerEncoding = "http://uri.etsi.org/01903/v1.2.2#DER";
constexpr std::string_view kDsigNamespace = "http://www.w3.org/2000/09/xmldsig#";
constexpr std::string_view kDsPrefix = "ds";

// Just after the start tag that begins at loc; 0 when it cannot be read.
uint32_t afterStartTag(uint32_t loc, std::string_view xml) {
    if (loc >= xml.size())
        return 0;
    const size_t gt = xml.find('>', loc);
    return gt == std::string_view::npos ? 0 : static_cast<uint32_t>(gt + 1);
}

Placement into(Wrapping wrapping, uint32_t loc, std::string_view xml) {
    const uint32_t offset = afterStartTag(loc, xml);
    return offset ? Placement{wrapping, offset} : Placement{};
}

std::string stamp(const Names& n) {
    std::string s = "<xades:SignatureTimeStamp Id=\"signature-timestamp-";
    s.append(n.stampId).append("\"><ds:CanonicalizationMethod");
    // The element keeps its ds: name; a signature written with another
    // prefix or none does not declare that one.
    if (n.signaturePrefix != kDsPrefix)
        s.append(" xmlns:ds=\"").append(kDsigNamespace).append("\"");
    s.append(" Algorithm=\"").append(kExclusiveC14n);
    s.append("\"/><xades:EncapsulatedTimeStamp Encoding=\"").append(kDerEncoding).append("\">");
    s.append(kTokenPlaceholder).append("</xades:EncapsulatedTimeStamp></xades:SignatureTimeStamp>");
    return s;
}

std::string qualifyingStartTag(const Names& n) {
    std::string s = "<xades:QualifyingProperties";
    if (!n.signatureDeclaresXades)
        s.append(" xmlns:xades=\"").append(kXadesNamespace).append("\"");
    if (!n.signatureId.empty())
        s.append(" Target=\"#").append(n.signatureId).append("\"");
    return s + ">";
}

} // namespace

Placement place(const XmlSigPositions& at, std::string_view xml) {
    if (at.m_unsignedSignaturePropertiesLoc)
        return into(Wrapping::Stamp, at.m_unsignedSignaturePropertiesLoc, xml);
    if (at.m_unsignedPropertiesLoc)
        return into(Wrapping::SignatureProperties, at.m_unsignedPropertiesLoc, xml);
    if (at.m_signedPropertiesLoc)
        return {Wrapping::UnsignedProperties, at.m_signedPropertiesLoc + at.m_signedPropertiesLen};
    if (at.m_qualifyingPropertiesLoc)
        return into(Wrapping::UnsignedProperties, at.m_qualifyingPropertiesLoc, xml);
    if (at.m_objectLoc)
        return into(Wrapping::QualifyingProperties, at.m_objectLoc, xml);
    if (at.m_newObjectLoc)
        return {Wrapping::Object, at.m_newObjectLoc + at.m_newObjectLen};
    return {};
}

std::string build(Wrapping wrapping, const Names& names) {
    if (wrapping == Wrapping::None)
        return {};
    std::string s = stamp(names);
    if (wrapping == Wrapping::Stamp)
        return s;
    s = "<xades:UnsignedSignatureProperties>" + s + "</xades:UnsignedSignatureProperties>";
    if (wrapping == Wrapping::SignatureProperties)
        return s;
    s = "<xades:UnsignedProperties>" + s + "</xades:UnsignedProperties>";
    if (wrapping == Wrapping::UnsignedProperties)
        return s;
    s = qualifyingStartTag(names) + s + "</xades:QualifyingProperties>";
    if (wrapping == Wrapping::QualifyingProperties)
        return s;
    const std::string prefix = names.signaturePrefix.empty() ? "" : std::string(names.signaturePrefix) + ":";
    return "<" + prefix + "Object Id=\"signature-object-" + std::string(names.objectId) + "\">" + s + "</" + prefix +
           "Object>";
}

} // namespace timestamp_fragment
