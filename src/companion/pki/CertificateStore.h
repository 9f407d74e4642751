#pragma once

#include "companion/pki/CertIndex.h"
#include "companion/pki/X509CertificateHolder.h"

#include <memory>
#include <vector>

class CertMgr;
class DataBuffer;
class LogBase;
class StringBuffer;
class XString;

// The verifier's in-memory certificate store. Certificates are indexed by
// issuer common name and serial number, by subject DN (its canonical key,
// see DistinguishedName), by the values of the subject DN alone, and by
// subject key identifier. Lookups return a certificate that the store owns:
// it stays valid until the store is cleared or destroyed. When several
// certificates share a key, the one added first is returned.
class CertificateStore {
public:
    CertificateStore() = default;
    virtual ~CertificateStore() = default;
    CertificateStore(const CertificateStore&) = delete;
    CertificateStore& operator=(const CertificateStore&) = delete;

    // True when the certificate is in the store afterwards (added now or
    // before); false when it is not loaded.
    bool addCertificate(const X509Certificate& cert, LogBase& log);
    // Adds every certificate of a vault; true when all of them are held.
    bool addCertVault(CertMgr& certMgr, LogBase& log);
    int getNumCerts() const { return static_cast<int>(m_holders.size()); }
    // The index-th certificate in the order added, or null.
    const X509Certificate* certAt(int index) const;
    void clear();

    // The certificate with that serial number (hex as X509Certificate writes it;
    // letter case, colons, white space and leading zero bytes do not count)
    // whose issuer has that common name (compared without regard to ASCII
    // letter case). When issuerDn is given, the whole issuer DN must match
    // it as well. Null when there is none.
    X509Certificate* findX509(const StringBuffer& serialHex, const StringBuffer& issuerCN, const StringBuffer* issuerDn,
                              LogBase& log);
    // The certificate whose subject DN has the canonical key of dn. With
    // tryValuesOnly, when there is none, the one whose subject values alone
    // match dnWithoutTags (DistinguishedName::removeDnTags), which finds
    // certificates named with attribute types we do not know.
    X509Certificate* findBySubjectDN_x509(const XString& dnWithoutTags, const XString& dn, bool tryValuesOnly,
                                          LogBase& log);
    // The certificate whose subject key identifier is ski, given in base64
    // (as XML-DSig's X509SKI and WS-Security's KeyIdentifier write it) or in
    // hex. A certificate without the extension is known by the SHA-1 of its
    // public key. Null when there is none.
    X509CertificateHolder* findBySubjectKeyId(const StringBuffer& ski, LogBase& log);
    // The first certificate whose subject name equals `subject` as OpenSSL
    // compares names (X509_NAME_cmp: RDN by RDN in encoded order, types by
    // OID, string values with letter case and white space runs folded);
    // null when there is none.
    X509Certificate* findBySubjectName(const X509_NAME& subject) const;
    // The same for the whole issuer name, of the certificate with that serial
    // number (as findX509 reads it).
    X509Certificate* findByIssuerNameAndSerial(const X509_NAME& issuer, const StringBuffer& serialHex) const;
    // The held certificate with exactly these DER bytes, or null.
    const X509Certificate* findByDer(const DataBuffer& der) const;

private:
    X509CertificateHolder* first(const CertIndex& index, const std::string& key) const;
    void indexCertificate(const X509Certificate& cert, size_t position);

    std::vector<std::unique_ptr<X509CertificateHolder>> m_holders;
    CertIndex m_byDer;
    CertIndex m_byIssuerSerial;
    CertIndex m_bySubject;
    CertIndex m_bySubjectValues;
    CertIndex m_byKeyId;
};

// Owns the certificate store of an object that looks certificates up.
class CertificateStoreHolder {
public:
    virtual ~CertificateStoreHolder() = default;
    CertificateStore& systemCerts() { return m_certificateStore; }

protected:
    CertificateStore m_certificateStore;
};
