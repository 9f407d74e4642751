#pragma once

#include "companion/base/ClsBase.h"
#include "companion/crypto/_tvPublicKey.h"
#include "companion/text/RefCountedObject.h"

class DataBuffer;
class LogBase;
class XString;

// A public key (RSA, DSA, EC or EdDSA) that the verifier checks signatures with.
// Reference-counted: createNewCls returns it with one reference.
class ClsPublicKey : public RefCountedObject, public ClsBase {
public:
    static ClsPublicKey* createNewCls();

    // Public calls, logged in the object's own log.
    // Loads a key value in XML (RSAKeyValue, DSAKeyValue, ECKeyValue,
    // ECDSAKeyValue).
    bool LoadXml(XString& xml);
    // Loads a PEM or DER public key, or the key of a PEM or DER certificate.
    bool LoadFromFile(XString& path);
    // "rsa", "dsa", "ecc", "eddsa", or "empty".
    void get_KeyType(XString& out);
    int get_KeySize();

    // Internal twins; each replaces the key, or leaves the object empty on
    // failure.
    bool loadXml(XString& xml, LogBase& log);
    // A DER SubjectPublicKeyInfo or PKCS#1 RSAPublicKey.
    bool loadAnyDer(DataBuffer& der, LogBase& log);
    // A key already decoded (a certificate's, shared with its other
    // holders); false for a null key.
    bool loadPkey(PkeyPtr pkey, LogBase& log);
    bool loadFromFile(XString& path, LogBase& log);
    // Replaces out with the DER SubjectPublicKeyInfo.
    bool getDer(DataBuffer& out, LogBase& log) const;

    // The key material by kind; null when the key is of another kind.
    const RsaKey* getRsaKey() const { return m_key.rsaKey(); }
    const DsaKey* getDsaKey() const { return m_key.dsaKey(); }
    const EccKey* getEccKey() const { return m_key.eccKey(); }
    const EdwardsKey* getEdwardsKey() const { return m_key.edwardsKey(); }
    // key_type in _tvPublicKey.h.
    int keyType() const { return m_key.keyType(); }
    int bitLength() const { return m_key.bitLength(); }

    // Set by whoever found the key for a document: a tag saying where it was
    // found and the certificate it was taken from (null when none).
    void setOrigin(int tag, X509* certificate);
    int originTag() const { return m_originTag; }
    // How the document led to the key, in words ("KeyInfoReference → X509Data").
    void setPath(std::string path) { m_path = std::move(path); }
    const std::string& path() const { return m_path; }
    X509* certificate() const { return m_certificate.get(); }

private:
    ClsPublicKey() = default;
    ~ClsPublicKey() override = default;
    bool takeKey(PkeyPtr pkey, LogBase& log);

    _tvPublicKey m_key;
    int m_originTag = 0;
    std::string m_path;
    X509Ptr m_certificate;
};
