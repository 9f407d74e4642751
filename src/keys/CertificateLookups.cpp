#include "companion/crypto/ClsPublicKey.h"
#include "companion/log/LogContextExitor.h"
#include "companion/pki/CertPem.h"
#include "companion/pki/CertificateHolder.h"
#include "companion/pki/CertificateStore.h"
#include "companion/pki/ClsXmlCertVault.h"
#include "companion/pki/DistinguishedName.h"
#include "keys/CertificateTextDecoding.h"
#include "keys/KeyResolver.h"
#include "keys/SeenCertificates.h"
#include "verifier/ClsXmlDSig.h"
#include "verifier/SignerIdentity.h"
#include "verifier/VerificationLimits.h"

namespace {

X509Certificate* findByIssuerAndSerial(CertificateStore& store, StringBuffer& issuerCN, StringBuffer& serialHex,
                                       LogBase& log) {
    // Only the issuer's common name is matched, not its whole DN.
    return store.findX509(serialHex, issuerCN, nullptr, log);
}

X509Certificate* findBySubjectName(CertificateStore& store, StringBuffer& dn, LogBase& log) {
    XString name(dn.view()), withoutTags;
    DistinguishedName::removeDnTags(name, withoutTags);
    return store.findBySubjectDN_x509(withoutTags, name, true, log);
}

X509Certificate* findBySki(CertificateStore& store, StringBuffer& ski, LogBase& log) {
    X509CertificateHolder* holder = store.findBySubjectKeyId(ski, log);
    return holder ? holder->getX509Ptr() : nullptr;
}

bool certToBase64(X509Certificate* cert, StringBuffer& outBase64) {
    if (!cert)
        return false;
    DataBuffer der;
    if (!cert->getCertDer(der) || der.isEmpty())
        return false;
    return der.encodeDB("base64", outBase64);
}

} // namespace

ClsPublicKey* KeyResolver::getPublicKeyByIssuerNameAndSerial(StringBuffer& issuerCN, StringBuffer& serialHex,
                                                             LogBase& log) {
    LogContextExitor ctx(log, "getPublicKeyByIssuerNameAndSerial");
    X509Certificate* cert = findByIssuerAndSerial(m_store, issuerCN, serialHex, log);
    return cert ? publicKeyFromX509(*cert, log) : nullptr;
}

bool KeyResolver::getCertByIssuerNameAndSerial(StringBuffer& issuerCN, StringBuffer& serialHex, StringBuffer& outBase64,
                                               LogBase& log) {
    LogContextExitor ctx(log, "getCertByIssuerNameAndSerial");
    outBase64.clear();
    return certToBase64(findByIssuerAndSerial(m_store, issuerCN, serialHex, log), outBase64);
}

ClsPublicKey* KeyResolver::getPublicKeyBySubjectName(StringBuffer& dn, LogBase& log) {
    LogContextExitor ctx(log, "getPublicKeyBySubjectName");
    X509Certificate* cert = findBySubjectName(m_store, dn, log);
    return cert ? publicKeyFromX509(*cert, log) : nullptr;
}

bool KeyResolver::getCertBySubjectName(StringBuffer& dn, StringBuffer& outBase64, LogBase& log) {
    LogContextExitor ctx(log, "getCertSubjectName");
    outBase64.clear();
    return certToBase64(findBySubjectName(m_store, dn, log), outBase64);
}

ClsPublicKey* KeyResolver::getPublicKeyBySKI(StringBuffer& ski, LogBase& log) {
    LogContextExitor ctx(log, "getPublicKeyBySKI");
    X509Certificate* cert = findBySki(m_store, ski, log);
    return cert ? publicKeyFromX509(*cert, log) : nullptr;
}

bool KeyResolver::getCertBySKI(StringBuffer& ski, StringBuffer& outBase64, LogBase& log) {
    LogContextExitor ctx(log, "getCertBySKI");
    outBase64.clear();
    return certToBase64(findBySki(m_store, ski, log), outBase64);
}

ClsPublicKey* KeyResolver::publicKeyFromX509(X509Certificate& cert, LogBase& log) {
    LogContextExitor ctx(log, "publicKeyFromX509");
    // A fresh wrapper per document around the key that all holders of these
    // certificate bytes share.
    RefPtr<ClsPublicKey> key(ClsPublicKey::createNewCls());
    if (!key)
        return nullptr;
    if (!key->loadPkey(cert.publicKey(), log)) {
        log.LogError("Failed to parse public key DER");
        return nullptr;
    }
    log.LogInfo("Loaded public key from X.509 certificate in KeyInfo.");
    key->setOrigin(static_cast<int>(KeySource::KeyInfoCertificate), cert.x509());
    return key.release();
}

namespace {

// Decodes certificate text from the document (cleaned of escaped carriage
// returns in place) and records it in the dedupe set.
bool parseCertBase64(StringBuffer& text, SeenCertificates& seen, X509CertificateHolder& holder, LogBase& log) {
    if (text.containsSubstring("&#13;"))
        text.replaceAllOccurances("&#13;", "");
    if (text.containsSubstring("&#xD;"))
        text.replaceAllOccurances("&#xD;", "");
    DataBuffer der;
    if (!decodeCertificateText(text.view(), der)) {
        log.LogError("Failed to decode base64 cert.");
        return false;
    }
    // Some SAML identity providers encode PEM text rather than DER. PEM text
    // never parses as DER (it starts with '-', a certificate with 0x30), so
    // the DER reading loses nothing to this one.
    if (CertPem::pemToDer(der.view(), der))
        log.LogInfo("The certificate text is the base64 of PEM text: reading the certificate inside it.");
    X509Certificate* cert = holder.getX509Ptr();
    if (!cert)
        return false;
    if (!cert->loadX509Der(der, log)) {
        log.LogError("Failed to parse X.509 certificate.");
        return false;
    }
    seen.add(*cert);
    return true;
}

} // namespace

bool KeyResolver::certificateWithinLimit(const StringBuffer& text, LogBase& log) {
    if (VerificationLimits::within(text.getSize(), m_maxCertificateBytes,
                                   "Bytes of certificate text:", VerificationLimits::kMaxCertificateBytes, log))
        return true;
    if (!m_limitHit)
        m_limitHit =
            LimitExceeded{std::string(VerificationLimits::kMaxCertificateBytes), text.getSize(), m_maxCertificateBytes};
    return false;
}

ClsPublicKey* KeyResolver::publicKeyFromCertBase64(StringBuffer& text, SeenCertificates& seen, LogBase& log) {
    LogContextExitor ctx(log, "publicKeyFromCertBase64");
    X509CertificateHolder holder;
    if (!certificateWithinLimit(text, log) || !parseCertBase64(text, seen, holder, log))
        return nullptr;
    return publicKeyFromX509(*holder.getX509Ptr(), log);
}

bool KeyResolver::processCertBase64(StringBuffer& text, SeenCertificates& seen, LogBase& log) {
    LogContextExitor ctx(log, "processCertBase64");
    X509CertificateHolder holder;
    return certificateWithinLimit(text, log) && parseCertBase64(text, seen, holder, log);
}

void KeyResolver::reverseSubjectNameDN(StringBuffer& dn, StringBuffer& out) {
    ExtPtrArraySb parts;
    dn.split(parts, ',', true, true);
    if (parts.getSize() == 0) {
        out.append(dn);
        return;
    }
    for (int i = parts.getSize() - 1; i >= 0; --i) {
        StringBuffer* part = parts.sbAt(i);
        if (!part)
            continue;
        part->trim2();
        out.append(*part);
        if (i >= 1)
            out.append(", ");
    }
}

bool ClsXmlDSig::UseCertVault(ClsXmlCertVault& vault) {
    CritSecExitor lock(m_critSec);
    LogContextExitor ctx(*this, "UseCertVault");
    m_log.clearLastJsonData();
    CertMgr* certMgr = vault.getCertMgr();
    const bool ok = certMgr && m_certificateStore.addCertVault(*certMgr, m_log);
    logSuccessFailure(ok);
    return ok;
}
