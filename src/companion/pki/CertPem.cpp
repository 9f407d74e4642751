#include "companion/pki/CertPem.h"

#include "companion/log/LogBase.h"
#include "companion/pki/CertFileReader.h"
#include "companion/pki/PkiHandles.h"
#include "companion/pki/X509Certificate.h"
#include "companion/text/ContentCoding.h"
#include "companion/text/DataBuffer.h"
#include "companion/text/StringBuffer.h"

#include <openssl/pem.h>

#include <vector>

namespace {

constexpr std::string_view kPemBegin = "-----BEGIN ";

bool startsWithPem(std::string_view text) {
    const size_t start = text.find_first_not_of(" \t\r\n");
    return start != std::string_view::npos && text.substr(start).starts_with(kPemBegin);
}

} // namespace

bool CertPem::derToPem(const DataBuffer& der, StringBuffer& out, LogBase& log) {
    X509Certificate cert;
    DataBuffer exact;
    if (!cert.loadX509Der(der, log) || !cert.getCertDer(exact))
        return false;
    const BioPtr bio(BIO_new(BIO_s_mem()));
    if (!bio || PEM_write_bio(bio.get(), PEM_STRING_X509, "", exact.getData(), exact.getSize()) <= 0) {
        log.LogError("Failed to write PEM.");
        return false;
    }
    char* text = nullptr;
    const long n = BIO_get_mem_data(bio.get(), &text);
    return out.appendN(text, static_cast<size_t>(n));
}

bool CertPem::base64ToPem(const StringBuffer& base64, StringBuffer& out, LogBase& log) {
    DataBuffer der;
    if (!ContentCoding::decodeBase64ToDb(base64.view(), der)) {
        log.LogError("The certificate text is not base64.");
        return false;
    }
    return derToPem(der, out, log);
}

bool CertPem::pemToDer(std::string_view text, DataBuffer& der) {
    if (!startsWithPem(text))
        return false;
    std::vector<X509Certificate> certs;
    LogNull quiet;
    DataBuffer first;
    if (!CertFileReader::parse(text, certs, quiet) || !certs.front().getCertDer(first))
        return false;
    der.clear();
    return der.append(first);
}
