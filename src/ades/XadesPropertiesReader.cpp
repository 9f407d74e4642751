#include "ades/XadesPropertiesReader.h"

#include "ades/XadesNames.h"
#include "companion/text/XmlDateTime.h"

using namespace xades_names;

namespace {

void appendJoined(std::string& out, const std::string& part) {
    if (part.empty())
        return;
    if (!out.empty())
        out += ", ";
    out += part;
}

// "Street, City, State, Postal code, Country", as far as stated.
std::string productionPlace(const XmlDocument& doc, uint32_t signedSignatureProperties) {
    uint32_t place = xadesChild(doc, signedSignatureProperties, "SignatureProductionPlaceV2");
    if (place == kNoNode)
        place = xadesChild(doc, signedSignatureProperties, "SignatureProductionPlace");
    std::string text;
    for (const char* part : {"StreetAddress", "City", "StateOrProvince", "PostalCode", "CountryName"})
        appendJoined(text, trimmedContent(doc, xadesChild(doc, place, part)));
    return text;
}

std::vector<std::string> signerRoles(const XmlDocument& doc, uint32_t signedSignatureProperties) {
    std::vector<std::string> roles;
    for (const char* property : {"SignerRoleV2", "SignerRole"}) {
        const uint32_t role = xadesChild(doc, signedSignatureProperties, property);
        forEachXadesChild(doc, xadesChild(doc, role, "ClaimedRoles"), "ClaimedRole",
                          [&](uint32_t claimed) { roles.push_back(trimmedContent(doc, claimed)); });
        if (xadesChild(doc, role, "CertifiedRoles") != kNoNode || xadesChild(doc, role, "CertifiedRolesV2") != kNoNode)
            roles.emplace_back("certified role (attribute certificate)");
    }
    return roles;
}

std::string policyIdentifier(const XmlDocument& doc, uint32_t signedSignatureProperties) {
    const uint32_t policy = xadesChild(doc, signedSignatureProperties, "SignaturePolicyIdentifier");
    if (policy == kNoNode)
        return {};
    if (xadesChild(doc, policy, "SignaturePolicyImplied") != kNoNode)
        return "implied";
    const uint32_t id = xadesChild(doc, xadesChild(doc, policy, "SignaturePolicyId"), "SigPolicyId");
    return trimmedContent(doc, xadesChild(doc, id, "Identifier"));
}

// The index of the SignedInfo reference whose Id the "#id" names, or -1.
int referenceIndexOf(const XmlDocument& doc, uint32_t signedInfo, const std::string& objectReference) {
    if (objectReference.size() < 2 || objectReference[0] != '#')
        return -1;
    int index = 0;
    for (uint32_t r = doc.firstChildElement(signedInfo); r != kNoNode; r = doc.nextSiblingElement(r)) {
        if (!isDsigElement(doc, r, "Reference"))
            continue;
        if (attributeValue(doc, r, "Id") == objectReference.substr(1))
            return index;
        ++index;
    }
    return -1;
}

void readDataObjectProperties(const XmlDocument& doc, const XadesElements& e, XadesProperties& p) {
    forEachXadesChild(doc, e.signedDataObjectProperties, "DataObjectFormat", [&](uint32_t format) {
        XadesProperties::DataObjectFormat f;
        f.objectReference = attributeValue(doc, format, "ObjectReference");
        f.reference = referenceIndexOf(doc, e.signedInfo, f.objectReference);
        f.mimeType = trimmedContent(doc, xadesChild(doc, format, "MimeType"));
        f.description = trimmedContent(doc, xadesChild(doc, format, "Description"));
        p.dataObjectFormats.push_back(std::move(f));
    });
    forEachXadesChild(doc, e.signedDataObjectProperties, "CommitmentTypeIndication", [&](uint32_t commitment) {
        const uint32_t id = xadesChild(doc, commitment, "CommitmentTypeId");
        p.commitmentTypes.push_back(trimmedContent(doc, xadesChild(doc, id, "Identifier")));
    });
}

} // namespace

XadesProperties readXadesProperties(const XmlDocument& doc, const XadesElements& e) {
    XadesProperties p;
    const uint32_t ssp = e.signedSignatureProperties;
    p.signingTimeText = trimmedContent(doc, xadesChild(doc, ssp, "SigningTime"));
    if (!p.signingTimeText.empty())
        p.signingTime = parseXmlDateTime(p.signingTimeText);
    p.productionPlace = productionPlace(doc, ssp);
    p.signerRoles = signerRoles(doc, ssp);
    p.policyIdentifier = policyIdentifier(doc, ssp);
    readDataObjectProperties(doc, e, p);
    return p;
}
