#pragma once

#include "companion/crypto/OpensslPtr.h"
#include "companion/xml/XmlDocument.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

// One Cert of a SigningCertificate or SigningCertificateV2 property: a
// certificate's digest and, when stated, its issuer and serial number.
struct SigningCertificateRef {
    std::string digestMethod;
    std::string digest; // decoded
    std::string issuerName;
    std::string serialNumber;   // decimal, as X509SerialNumber writes it
    std::string issuerSerialV2; // decoded DER of IssuerSerialV2
};

struct SigningCertificateProperty {
    bool present = false;
    bool v2 = false;
    std::vector<SigningCertificateRef> certs;
};

// The property of the signed signature properties (either version).
SigningCertificateProperty readSigningCertificate(const XmlDocument& doc, uint32_t signedSignatureProperties);

// Whether a Cert names the certificate: its digest equals, and the issuer
// and serial, when stated, are the certificate's. Empty when it does; else
// why not.
std::string mismatchOf(const SigningCertificateRef& ref, X509* cert);

// The first candidate some Cert's digest names, or null.
X509* certificateNamedBy(const SigningCertificateProperty& property, std::span<X509* const> candidates);
