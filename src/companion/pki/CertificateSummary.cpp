#include "companion/pki/CertificateSummary.h"

#include "companion/pki/SerialNumberText.h"
#include "companion/pki/X509NameText.h"
#include "companion/text/TextCodec.h"
#include "companion/text/XmlDateTime.h"

#include <openssl/err.h>
#include <openssl/evp.h>

#include <ctime>
#include <string_view>

namespace {

constexpr char kFingerprintSeparator = ':';

std::string sha256Fingerprint(const X509* cert) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (X509_digest(cert, EVP_sha256(), digest, &length) != 1) {
        ERR_clear_error();
        return {};
    }
    std::string out;
    for (unsigned int i = 0; i < length; ++i) {
        if (i > 0)
            out.push_back(kFingerprintSeparator);
        TextCodec::encodeHex(std::string_view(reinterpret_cast<const char*>(digest + i), 1), false, out);
    }
    return out;
}

} // namespace

std::string certificateNameText(const X509_NAME* name) {
    return X509NameText::format(name, true, 0);
}

CertificateSummary summarizeCertificate(X509* cert) {
    CertificateSummary summary;
    if (cert == nullptr)
        return summary;
    summary.subject = certificateNameText(X509_get_subject_name(cert));
    summary.issuer = certificateNameText(X509_get_issuer_name(cert));
    summary.serialNumber = SerialNumberText::fromInteger(X509_get0_serialNumber(cert));
    summary.notBefore = asn1TimeText(X509_get0_notBefore(cert));
    summary.notAfter = asn1TimeText(X509_get0_notAfter(cert));
    summary.sha256Fingerprint = sha256Fingerprint(cert);
    return summary;
}

std::string asn1TimeText(const ASN1_TIME* time) {
    std::tm tm{};
    if (time == nullptr || ASN1_TIME_to_tm(time, &tm) != 1) {
        ERR_clear_error();
        return {};
    }
    return formatXmlDateTime(tm);
}
