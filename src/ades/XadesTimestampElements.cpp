#include "ades/XadesTimestampElements.h"

#include "ades/XadesNames.h"

#include <array>

using namespace xades_names;

namespace {

struct NamedKind {
    std::string_view name;
    XadesTimestampKind kind;
};

constexpr std::array kDataObjectTimestamps{
    NamedKind{"AllDataObjectsTimeStamp", XadesTimestampKind::AllDataObjects},
    NamedKind{"IndividualDataObjectsTimeStamp", XadesTimestampKind::IndividualDataObjects},
};

// The V2 forms (EN 319 132-1) cover the same elements, in their V2 forms.
constexpr std::array kSignatureTimestamps{
    NamedKind{"SignatureTimeStamp", XadesTimestampKind::Signature},
    NamedKind{"SigAndRefsTimeStamp", XadesTimestampKind::SigAndRefs},
    NamedKind{"SigAndRefsTimeStampV2", XadesTimestampKind::SigAndRefs},
    NamedKind{"RefsOnlyTimeStamp", XadesTimestampKind::RefsOnly},
    NamedKind{"RefsOnlyTimeStampV2", XadesTimestampKind::RefsOnly},
    NamedKind{"ArchiveTimeStamp", XadesTimestampKind::Archive},
};

constexpr std::array<std::string_view, 6> kValidationDataReferences{
    "CompleteCertificateRefs",  "CompleteCertificateRefsV2",  "CompleteRevocationRefs",
    "AttributeCertificateRefs", "AttributeCertificateRefsV2", "AttributeRevocationRefs",
};

template <size_t N>
void collect(const XmlDocument& doc, uint32_t parent, const std::array<NamedKind, N>& names,
             std::vector<XadesTimestampElement>& out) {
    if (parent == kNoNode)
        return;
    for (uint32_t c = doc.firstChildElement(parent); c != kNoNode; c = doc.nextSiblingElement(c))
        for (const NamedKind& named : names)
            if (isXadesElement(doc, c, named.name))
                out.push_back({named.kind, c});
}

} // namespace

const char* xadesTimestampElementName(XadesTimestampKind kind) {
    switch (kind) {
    case XadesTimestampKind::Signature:
        return "SignatureTimeStamp";
    case XadesTimestampKind::AllDataObjects:
        return "AllDataObjectsTimeStamp";
    case XadesTimestampKind::IndividualDataObjects:
        return "IndividualDataObjectsTimeStamp";
    case XadesTimestampKind::SigAndRefs:
        return "SigAndRefsTimeStamp";
    case XadesTimestampKind::RefsOnly:
        return "RefsOnlyTimeStamp";
    case XadesTimestampKind::Archive:
        return "ArchiveTimeStamp";
    }
    return "timestamp";
}

std::vector<XadesTimestampElement> findXadesTimestamps(const XmlDocument& doc, const XadesElements& e) {
    std::vector<XadesTimestampElement> out;
    collect(doc, e.signedDataObjectProperties, kDataObjectTimestamps, out);
    collect(doc, e.unsignedSignatureProperties, kSignatureTimestamps, out);
    return out;
}

bool isValidationDataReference(const XmlDocument& doc, uint32_t element) {
    for (std::string_view name : kValidationDataReferences)
        if (isXadesElement(doc, element, name))
            return true;
    return false;
}
