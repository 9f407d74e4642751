#include "ades/XadesElements.h"

#include "ades/XadesNames.h"

using namespace xades_names;

namespace {

// "#id" names the signature whose Id is id.
bool targetsSignature(const XmlDocument& doc, uint32_t qualifyingProperties, const std::string& signatureId) {
    const std::string target = attributeValue(doc, qualifyingProperties, "Target");
    return !signatureId.empty() && target.size() == signatureId.size() + 1 && target[0] == '#' &&
           target.compare(1, std::string::npos, signatureId) == 0;
}

// The QualifyingProperties in the signature's objects, preferring the one
// whose Target names the signature; a signature without an Id can only have
// its own.
uint32_t findQualifyingProperties(const XmlDocument& doc, const XadesElements& e) {
    const std::string signatureId = attributeValue(doc, e.signature, "Id");
    uint32_t first = kNoNode;
    for (uint32_t object : e.objects) {
        uint32_t found = kNoNode;
        forEachXadesChild(doc, object, "QualifyingProperties", [&](uint32_t qp) {
            if (found == kNoNode || targetsSignature(doc, qp, signatureId))
                found = qp;
        });
        if (found == kNoNode)
            continue;
        if (targetsSignature(doc, found, signatureId))
            return found;
        if (first == kNoNode)
            first = found;
    }
    return first;
}

void findSignedProperties(const XmlDocument& doc, std::span<const ReferenceOutcome> references, XadesElements& e) {
    for (uint32_t object : e.objects)
        forEachXadesChild(doc, object, "QualifyingProperties", [&](uint32_t qp) {
            forEachXadesChild(doc, qp, "SignedProperties", [&](uint32_t sp) { e.signedPropertiesFound.push_back(sp); });
        });
    for (uint32_t sp : e.signedPropertiesFound) {
        if (e.signedProperties == kNoNode && coveredByMatchedReference(doc, sp, references))
            e.signedProperties = sp;
        else
            e.unsignedCopies.push_back(sp);
    }
}

} // namespace

bool coveredByMatchedReference(const XmlDocument& doc, uint32_t element, std::span<const ReferenceOutcome> references) {
    const uint32_t offset = doc.startTagBegin(element);
    for (const ReferenceOutcome& r : references)
        if (r.matched && r.target == ReferenceOutcome::Target::Element && r.offset == offset)
            return true;
    return false;
}

XadesElements XadesElements::find(const XmlDocument& doc, uint32_t signature,
                                  std::span<const ReferenceOutcome> references) {
    XadesElements e;
    e.signature = signature;
    e.signedInfo = dsigChild(doc, signature, "SignedInfo");
    e.signatureValue = dsigChild(doc, signature, "SignatureValue");
    e.keyInfo = dsigChild(doc, signature, "KeyInfo");
    for (uint32_t c = doc.firstChildElement(signature); c != kNoNode; c = doc.nextSiblingElement(c))
        if (isDsigElement(doc, c, "Object"))
            e.objects.push_back(c);
    e.qualifyingProperties = findQualifyingProperties(doc, e);
    if (!e.hasXades())
        return e;
    e.xadesNamespace = namespaceOf(doc, e.qualifyingProperties);
    findSignedProperties(doc, references, e);
    const uint32_t unsignedProperties = xadesChild(doc, e.qualifyingProperties, "UnsignedProperties");
    e.signedSignatureProperties = xadesChild(doc, e.signedProperties, "SignedSignatureProperties");
    e.signedDataObjectProperties = xadesChild(doc, e.signedProperties, "SignedDataObjectProperties");
    e.unsignedSignatureProperties = xadesChild(doc, unsignedProperties, "UnsignedSignatureProperties");
    return e;
}
