#pragma once

#include "companion/crypto/OpensslPtr.h"
#include "companion/xml/XmlDocument.h"

#include <cstdint>
#include <string>
#include <vector>

// The validation data a signature carries in its unsigned properties
// (CertificateValues, RevocationValues, TimeStampValidationData): the
// certificates decoded, the CRLs and OCSP responses as DER.
struct ValidationData {
    std::vector<X509Ptr> certificates;
    std::vector<std::vector<uint8_t>> crls;
    std::vector<std::vector<uint8_t>> ocspResponses;
    int undecodable = 0; // certificates that are not X.509

    std::vector<X509*> certificatePointers() const;
    static ValidationData read(const XmlDocument& doc, uint32_t unsignedSignatureProperties);
};
