#include "companion/pki/X509Certificate.h"

#include "companion/log/LogBase.h"
#include "companion/pki/DecodedCertificateCache.h"
#include "companion/pki/PkiHandles.h"
#include "companion/pki/SerialNumberText.h"
#include "companion/pki/X509NameText.h"
#include "companion/text/DataBuffer.h"
#include "companion/text/StringBuffer.h"

#include <openssl/err.h>
#include <openssl/x509v3.h>

namespace {

X509Ptr sharedCopy(const X509Ptr& x509) {
    if (x509)
        X509_up_ref(x509.get());
    return X509Ptr(x509.get());
}

bool commonNameOf(const X509_NAME* name, StringBuffer& out) {
    std::string cn;
    if (!X509NameText::lastValueOf(name, NID_commonName, cn))
        return false;
    out.setString(cn);
    return true;
}

} // namespace

X509Certificate::X509Certificate(const X509Certificate& other) : m_x509(sharedCopy(other.m_x509)), m_der(other.m_der) {
}

X509Certificate& X509Certificate::operator=(const X509Certificate& other) {
    if (this != &other) {
        m_x509 = sharedCopy(other.m_x509);
        m_der = other.m_der;
    }
    return *this;
}

bool X509Certificate::loadX509Der(const DataBuffer& der, LogBase& log) {
    m_x509.reset();
    m_der.clear();
    DecodedCertificateCache::Certificate decoded = DecodedCertificateCache::process().certificate(der.view());
    if (!decoded.x509) {
        log.LogError("The bytes are not a DER X.509 certificate.");
        log.LogDataLong("numBytes", der.getSize());
        return false;
    }
    m_der.assign(der.view().substr(0, decoded.derLength));
    m_x509 = std::move(decoded.x509);
    return true;
}

bool X509Certificate::getCertDer(DataBuffer& out) const {
    out.clear();
    return isLoaded() && out.append(m_der);
}

bool X509Certificate::get_PublicKey(DataBuffer& out, LogBase& log) const {
    out.clear();
    if (!isLoaded())
        return false;
    unsigned char* der = nullptr;
    const int n = i2d_X509_PUBKEY(X509_get_X509_PUBKEY(m_x509.get()), &der);
    const OpensslBytes owned(der);
    if (n <= 0) {
        ERR_clear_error();
        log.LogError("Failed to encode the certificate's public key.");
        return false;
    }
    return out.append(der, static_cast<size_t>(n));
}

PkeyPtr X509Certificate::publicKey() const {
    return isLoaded() ? DecodedCertificateCache::process().publicKey(m_der, *m_x509) : nullptr;
}

bool X509Certificate::get_SerialNumber(StringBuffer& out) const {
    out.clear();
    if (!isLoaded())
        return false;
    out.setString(SerialNumberText::fromInteger(X509_get0_serialNumber(m_x509.get())));
    return true;
}

bool X509Certificate::get_IssuerCN(StringBuffer& out) const {
    out.clear();
    return isLoaded() && commonNameOf(X509_get_issuer_name(m_x509.get()), out);
}

bool X509Certificate::get_SubjectCN(StringBuffer& out) const {
    out.clear();
    return isLoaded() && commonNameOf(X509_get_subject_name(m_x509.get()), out);
}

bool X509Certificate::getDN(bool subject, bool mostSpecificFirst, StringBuffer& out, LogBase& log, int flags) const {
    out.clear();
    if (!isLoaded()) {
        log.LogError("No certificate is loaded.");
        return false;
    }
    const X509_NAME* name = subject ? X509_get_subject_name(m_x509.get()) : X509_get_issuer_name(m_x509.get());
    out.setString(X509NameText::format(name, mostSpecificFirst, flags));
    return true;
}

bool X509Certificate::getSubjectKeyId(DataBuffer& out) const {
    out.clear();
    if (!isLoaded())
        return false;
    const ASN1_OCTET_STRING* ski = X509_get0_subject_key_id(m_x509.get());
    return ski && out.append(ASN1_STRING_get0_data(ski), static_cast<size_t>(ASN1_STRING_length(ski)));
}

bool X509Certificate::getPublicKeySha1(DataBuffer& out) const {
    out.clear();
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int n = 0;
    if (!isLoaded() || !X509_pubkey_digest(m_x509.get(), EVP_sha1(), digest, &n))
        return false;
    return out.append(digest, n);
}
