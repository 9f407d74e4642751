#pragma once

#include "companion/pki/X509CertificateHolder.h"

#include <memory>

class LogBase;
class CertificateStore;

// A certificate decoded from the base64 text of a document.
class CertificateHolder : public X509CertificateHolder {
public:
    // Decodes base64 DER (white space and line breaks anywhere are skipped)
    // and parses the certificate. When the store already holds the same
    // certificate, the holder shares the store's parsed copy. Null, with an
    // error line, when the text is not base64 or not a certificate.
    static std::unique_ptr<CertificateHolder> createFromBase64(const char* text, unsigned len, CertificateStore* store,
                                                               LogBase& log);

    // The certificate, or null when none is loaded.
    X509Certificate* getCertPtr(LogBase& log);
};
