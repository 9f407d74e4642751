#pragma once

#include <string_view>

class DataBuffer;
class LogBase;
class StringBuffer;

// Certificates as PEM text ("-----BEGIN CERTIFICATE-----", base64 in lines
// of 64 characters, "-----END CERTIFICATE-----" and a line feed), for
// output that people and other tools read.
class CertPem {
public:
    // Appends the PEM of a DER certificate, its bytes unchanged; false, with
    // an error line, when the bytes are not a certificate.
    static bool derToPem(const DataBuffer& der, StringBuffer& out, LogBase& log);
    // The same for base64 DER (as GetCerts gives it); white space is skipped.
    static bool base64ToPem(const StringBuffer& base64, StringBuffer& out, LogBase& log);
    // The DER of the first certificate of PEM text, replacing der; false,
    // der unchanged, when the text (after leading white space) is not PEM
    // or holds no certificate.
    static bool pemToDer(std::string_view text, DataBuffer& der);
};
