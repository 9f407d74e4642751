#pragma once

#include "companion/crypto/OpensslPtr.h"
#include "companion/pki/RevocationEvidence.h"
#include "companion/xml/XmlDocument.h"

#include <cstdint>
#include <string>
#include <vector>

// The validation data a signature carries in its unsigned properties
// (CertificateValues, RevocationValues, TimeStampValidationData) and its
// KeyInfo's X509CRL elements: the certificates decoded, the CRLs and OCSP
// responses as DER, ready for the revocation checker.
struct ValidationData {
    std::vector<X509Ptr> certificates;
    RevocationSources revocation; // online off: the caller decides
    int undecodable = 0;          // certificates that are not X.509

    std::vector<X509*> certificatePointers() const;
    static ValidationData read(const XmlDocument& doc, uint32_t unsignedSignatureProperties, uint32_t keyInfo);
    // The X509CRL elements of a KeyInfo's X509Data, as DER.
    static std::vector<std::vector<uint8_t>> keyInfoCrls(const XmlDocument& doc, uint32_t keyInfo);
};
