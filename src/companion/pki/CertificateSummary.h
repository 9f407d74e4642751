#pragma once

#include <openssl/x509.h>

#include <string>

// What a person needs to recognise a certificate, as text.
struct CertificateSummary {
    std::string subject;             // "CN=..., O=..., C=..." most specific first, UTF-8, RFC 4514 escaping
    std::string issuer;              // same form
    std::string serialNumber;        // hex, uppercase, as `openssl x509 -serial` prints it (without "serial=")
    std::string notBefore, notAfter; // ISO 8601 UTC "2024-05-01T12:00:00Z"
    std::string sha256Fingerprint; // hex, uppercase, colon-separated, as `openssl x509 -fingerprint -sha256` prints it
};

CertificateSummary summarizeCertificate(X509* cert);

// A name in the form of CertificateSummary's subject.
std::string certificateNameText(const X509_NAME* name);

// An ASN.1 time as xsd:dateTime in UTC; empty for a time that does not decode.
std::string asn1TimeText(const ASN1_TIME* time);
