#pragma once

#include "companion/crypto/OpensslPtr.h"

#include <string>

class DataBuffer;
class LogBase;
class StringBuffer;

// One X.509 certificate. Copies share the parsed certificate (OpenSSL
// counts its references) and the DER it was loaded from.
//
// Serial numbers are written as SerialNumberText says: 0 is "00", 128 is
// "80", 256 is "0100", as XString::reencode("decimal", "hex") writes them.
class X509Certificate {
public:
    X509Certificate() = default;
    virtual ~X509Certificate() = default;
    X509Certificate(const X509Certificate& other);
    X509Certificate& operator=(const X509Certificate& other);
    X509Certificate(X509Certificate&&) noexcept = default;
    X509Certificate& operator=(X509Certificate&&) noexcept = default;

    // Parses a DER certificate, replacing any earlier one. Bytes after the
    // certificate are ignored and not kept. False, with an error line, when
    // the bytes are not a certificate.
    bool loadX509Der(const DataBuffer& der, LogBase& log);
    bool isLoaded() const { return m_x509 != nullptr; }

    // Each accessor replaces its output, and is false when nothing is loaded.
    // The DER exactly as loaded.
    bool getCertDer(DataBuffer& out) const;
    // The DER SubjectPublicKeyInfo, whatever the algorithm.
    bool get_PublicKey(DataBuffer& out, LogBase& log) const;
    // The public key, decoded once for all holders of the same certificate
    // bytes; null when nothing is loaded or the key cannot be decoded.
    PkeyPtr publicKey() const;
    bool get_SerialNumber(StringBuffer& out) const;
    // The common name of the issuer (its most specific CN when it has
    // several); false when the issuer has none.
    bool get_IssuerCN(StringBuffer& out) const;
    bool get_SubjectCN(StringBuffer& out) const;
    // The subject (or issuer) DN in the form of X509NameText: most specific
    // first ("CN=..., O=..., C=...") or in encoded order; flags are
    // X509NameText::Flags (0 for labels).
    bool getDN(bool subject, bool mostSpecificFirst, StringBuffer& out, LogBase& log, int flags) const;
    // The subjectKeyIdentifier extension's key identifier; false when the
    // certificate has no such extension.
    bool getSubjectKeyId(DataBuffer& out) const;
    // The SHA-1 of the subject public key bits (RFC 5280's first method),
    // which signers use as the identifier of a certificate without the
    // extension.
    bool getPublicKeySha1(DataBuffer& out) const;

    // For the CMS layer, which hands certificates to OpenSSL; null when
    // nothing is loaded.
    X509* x509() const { return m_x509.get(); }

private:
    X509Ptr m_x509;
    std::string m_der;
};
