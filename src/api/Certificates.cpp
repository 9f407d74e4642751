#include "xmldsig/Certificates.h"

#include "api/LoadedDocument.h"

#include "companion/base/ClsStringArray.h"
#include "companion/log/LogBase.h"
#include "companion/pki/CertPem.h"
#include "companion/pki/CertificateSummary.h"
#include "companion/pki/X509Certificate.h"
#include "companion/text/ContentCoding.h"
#include "verifier/ClsXmlDSig.h"

namespace xmldsig {

namespace {

// The certificate a KeyInfo text holds, with the DER exactly as it was
// written; false when the text is not a certificate.
bool certificateOf(std::string_view base64, Certificate& out) {
    DataBuffer der;
    X509Certificate cert;
    LogNull log;
    if (!ContentCoding::decodeBase64ToDb(base64, der) || !cert.loadX509Der(der, log) || !cert.getCertDer(der))
        return false;
    CertificateSummary s = summarizeCertificate(cert.x509());
    out = {std::move(s.subject),
           std::move(s.issuer),
           std::move(s.serialNumber),
           std::move(s.notBefore),
           std::move(s.notAfter),
           std::move(s.sha256Fingerprint),
           {der.view().begin(), der.view().end()}};
    return true;
}

Status certificatesOf(LoadedDocument loaded, int signatureIndex, std::vector<Certificate>& out) {
    out.clear();
    if (!loaded.status())
        return loaded.status();
    if (Status selected = loaded.select(signatureIndex); !selected)
        return selected;
    ClsXmlDSig& dsig = loaded.engine();
    ClsStringArray texts;
    if (!dsig.GetCerts(texts))
        return loaded.failure(Errc::unresolved_key_info, dsig.lastFailure());
    for (int i = 0; i < texts.get_Count(); ++i) {
        XString text;
        texts.GetString(i, text);
        if (Certificate cert; certificateOf(text.view(), cert))
            out.push_back(std::move(cert));
    }
    return {};
}

} // namespace

Status keyInfoCertificates(std::string_view document, int signatureIndex, std::vector<Certificate>& out) {
    return certificatesOf(LoadedDocument::fromBytes(document), signatureIndex, out);
}

Status keyInfoCertificatesOfFile(const std::filesystem::path& path, int signatureIndex, std::vector<Certificate>& out) {
    return certificatesOf(LoadedDocument::fromFile(path), signatureIndex, out);
}

std::string pem(const Certificate& certificate) {
    DataBuffer der;
    der.append(std::string_view(reinterpret_cast<const char*>(certificate.der.data()), certificate.der.size()));
    StringBuffer text;
    LogNull log;
    if (!CertPem::derToPem(der, text, log))
        return {};
    return std::string(text.view());
}

} // namespace xmldsig
