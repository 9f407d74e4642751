#include "ades/ValidationData.h"

#include "ades/XadesNames.h"
#include "companion/text/DataBuffer.h"
#include "companion/xml/ClsXml.h"
#include "verifier/ClsXmlDSig.h"

#include <openssl/x509.h>

using namespace xades_names;

namespace {

std::vector<uint8_t> decoded(const XmlDocument& doc, uint32_t element) {
    DataBuffer bytes;
    bytes.appendEncoded(trimmedContent(doc, element), "base64");
    return {bytes.getData(), bytes.getData() + bytes.getSize()};
}

void readCertificateValues(const XmlDocument& doc, uint32_t values, ValidationData& data) {
    forEachXadesChild(doc, values, "EncapsulatedX509Certificate", [&](uint32_t encapsulated) {
        const std::vector<uint8_t> der = decoded(doc, encapsulated);
        const unsigned char* p = der.data();
        if (X509Ptr cert{d2i_X509(nullptr, &p, static_cast<long>(der.size()))})
            data.certificates.push_back(std::move(cert));
        else
            ++data.undecodable;
    });
}

void readRevocationValues(const XmlDocument& doc, uint32_t values, ValidationData& data) {
    forEachXadesChild(doc, xadesChild(doc, values, "CRLValues"), "EncapsulatedCRLValue",
                      [&](uint32_t crl) { data.revocation.crls.push_back(decoded(doc, crl)); });
    forEachXadesChild(doc, xadesChild(doc, values, "OCSPValues"), "EncapsulatedOCSPValue",
                      [&](uint32_t ocsp) { data.revocation.ocspResponses.push_back(decoded(doc, ocsp)); });
}

} // namespace

std::vector<X509*> ValidationData::certificatePointers() const {
    std::vector<X509*> pointers;
    for (const X509Ptr& cert : certificates)
        pointers.push_back(cert.get());
    return pointers;
}

ValidationData ValidationData::read(const XmlDocument& doc, uint32_t unsignedSignatureProperties, uint32_t keyInfo) {
    ValidationData data;
    data.revocation.crls = keyInfoCrls(doc, keyInfo);
    if (unsignedSignatureProperties == kNoNode)
        return data;
    for (uint32_t c = doc.firstChildElement(unsignedSignatureProperties); c != kNoNode; c = doc.nextSiblingElement(c)) {
        if (isXadesElement(doc, c, "CertificateValues")) {
            readCertificateValues(doc, c, data);
        } else if (isXadesElement(doc, c, "RevocationValues")) {
            readRevocationValues(doc, c, data);
        } else if (isXadesElement(doc, c, "TimeStampValidationData")) {
            readCertificateValues(doc, xadesChild(doc, c, "CertificateValues"), data);
            readRevocationValues(doc, xadesChild(doc, c, "RevocationValues"), data);
        }
    }
    return data;
}

std::vector<std::vector<uint8_t>> ValidationData::keyInfoCrls(const XmlDocument& doc, uint32_t keyInfo) {
    std::vector<std::vector<uint8_t>> crls;
    for (uint32_t x509Data = keyInfo == kNoNode ? kNoNode : doc.firstChildElement(keyInfo); x509Data != kNoNode;
         x509Data = doc.nextSiblingElement(x509Data)) {
        if (!isDsigElement(doc, x509Data, "X509Data"))
            continue;
        for (uint32_t c = doc.firstChildElement(x509Data); c != kNoNode; c = doc.nextSiblingElement(c))
            if (isDsigElement(doc, c, "X509CRL"))
                crls.push_back(decoded(doc, c));
    }
    return crls;
}

std::vector<std::vector<uint8_t>> ClsXmlDSig::keyInfoCrls() const {
    ClsXml* selected = selectedSignature();
    const XmlDocument* doc = loadedTree();
    const uint32_t signature = doc && selected ? doc->elementAt(selected->startTagBegin()) : kNoNode;
    return signature == kNoNode ? std::vector<std::vector<uint8_t>>{}
                                : ValidationData::keyInfoCrls(*doc, dsigChild(*doc, signature, "KeyInfo"));
}
