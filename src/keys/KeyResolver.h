#pragma once

#include "companion/text/ExtPtrArray.h"
#include "companion/text/StringBuffer.h"
#include "verifier/VerificationReport.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

class ClsPublicKey;
class ClsStringArray;
class ClsXml;
class SeenCertificates;
class LogBase;
class CertificateStore;
class X509Certificate;
class XString;

// Finds the keys and certificates a signature's KeyInfo yields: the key
// values it writes, the certificates it carries (directly, in WS-Security
// tokens of the document, as PkiPath tokens) and those it names by issuer
// and serial, subject name, key identifier, X509Digest or KeyName in the
// verifier's certificate store; it follows KeyInfoReference and RetrievalMethod
// within a bound. Each key found carries where it was found (KeySource) and
// the path that led there.
class KeyResolver {
public:
    // Certificate text over `maxCertificateBytes` is not decoded; the first
    // such certificate is recorded in `limitHit`.
    KeyResolver(CertificateStore& store, ClsXml* document, uint64_t maxCertificateBytes,
                std::optional<LimitExceeded>& limitHit)
        : m_store(store), m_document(document), m_maxCertificateBytes(maxCertificateBytes), m_limitHit(limitHit) {}

    // RetrievalMethod may read a raw certificate from these folders, as
    // external references do.
    void allowExternalFiles(const XString& dirs, uint64_t maxBytes) {
        m_externalDirs = &dirs;
        m_maxExternalFileBytes = maxBytes;
    }

    // The candidate keys, in KeyInfo's order; keys found before a malformed
    // part are kept, and false is returned.
    bool publicKeyFromKeyInfo(ClsXml& keyInfo, ExtPtrArrayRc& keys, LogBase& log);
    // The certificates KeyInfo carries or names, as base64 DER.
    bool certsFromKeyInfo(ClsXml& keyInfo, ClsStringArray& out, LogBase& log);

    // Store lookups: the certificate, or a key made from it.
    ClsPublicKey* getPublicKeyByIssuerNameAndSerial(StringBuffer& issuerCN, StringBuffer& serialHex, LogBase& log);
    bool getCertByIssuerNameAndSerial(StringBuffer& issuerCN, StringBuffer& serialHex, StringBuffer& outBase64,
                                      LogBase& log);
    ClsPublicKey* getPublicKeyBySubjectName(StringBuffer& dn, LogBase& log);
    bool getCertBySubjectName(StringBuffer& dn, StringBuffer& outBase64, LogBase& log);
    ClsPublicKey* getPublicKeyBySKI(StringBuffer& ski, LogBase& log);
    bool getCertBySKI(StringBuffer& ski, StringBuffer& outBase64, LogBase& log);
    ClsPublicKey* publicKeyFromX509(X509Certificate& cert, LogBase& log);
    ClsPublicKey* publicKeyFromCertBase64(StringBuffer& text, SeenCertificates& seen, LogBase& log);
    bool processCertBase64(StringBuffer& text, SeenCertificates& seen, LogBase& log);
    static void reverseSubjectNameDN(StringBuffer& dn, StringBuffer& out);
    // The signer's certificate (the last) of a WS-Security X509PKIPathv1 token.
    bool pkiPathV1_to_cert(const StringBuffer& tokenBase64, StringBuffer& outBase64, LogBase& log);

private:
    bool resolveKeyInfo(ClsXml& keyInfo, SeenCertificates& seen, ExtPtrArrayRc& keys, LogBase& log);
    // Appends a key found, with where it was found and the path to it.
    void found(ExtPtrArrayRc& keys, ClsPublicKey* key, KeySource source);
    bool keysFromKeyValue(ClsXml& keyInfo, ExtPtrArrayRc& keys, LogBase& log);
    bool certificateWithinLimit(const StringBuffer& text, LogBase& log);
    // The XML-DSig 1.1 forms and the indirections.
    void keysFromDerEncodedKeyValues(ClsXml& keyInfo, ExtPtrArrayRc& keys, LogBase& log);
    void keysFromX509Digests(ClsXml& x509Data, ExtPtrArrayRc& keys, LogBase& log);
    void keysFromKeyNames(ClsXml& keyInfo, ExtPtrArrayRc& keys, LogBase& log);
    void keysFromKeyInfoReferences(ClsXml& keyInfo, SeenCertificates& seen, ExtPtrArrayRc& keys, LogBase& log);
    void keysFromRetrievalMethods(ClsXml& keyInfo, SeenCertificates& seen, ExtPtrArrayRc& keys, LogBase& log);
    void keysFromRetrievedElement(ClsXml& element, const StringBuffer& type, SeenCertificates& seen,
                                  ExtPtrArrayRc& keys, LogBase& log);
    void keyFromRetrievedFile(const StringBuffer& uri, SeenCertificates& seen, ExtPtrArrayRc& keys, LogBase& log);
    // The element of the document with that Id, once per resolution and
    // within the bound of indirections; null (logged) otherwise.
    ClsXml* followedElement(const StringBuffer& uri, LogBase& log);
    // What X509Data of KeyInfo or of a SecurityTokenReference yields.
    void keysFromX509Data(ClsXml& parent, SeenCertificates& seen, ExtPtrArrayRc& keys, LogBase& log);
    void certsFromX509Data(ClsXml& parent, SeenCertificates& seen, ClsStringArray& out, LogBase& log);
    // The SecurityTokenReference forms.
    bool keysFromSecurityTokenReference(ClsXml& keyInfo, SeenCertificates& seen, ExtPtrArrayRc& keys, LogBase& log);
    void keyFromStoreByKeyIdentifier(ClsXml& str, ExtPtrArrayRc& keys, LogBase& log);
    bool keyFromReferencedToken(ClsXml& str, SeenCertificates& seen, ExtPtrArrayRc& keys, LogBase& log);
    bool keyFromThumbprint(ClsXml& str, SeenCertificates& seen, ExtPtrArrayRc& keys, LogBase& log);
    bool certsFromSecurityTokenReference(ClsXml& str, SeenCertificates& seen, ClsStringArray& out, LogBase& log);

    CertificateStore& m_store;
    ClsXml* m_document;
    uint64_t m_maxCertificateBytes;
    std::optional<LimitExceeded>& m_limitHit;
    const XString* m_externalDirs = nullptr;
    uint64_t m_maxExternalFileBytes = 0;
    // The indirections being followed, outermost first, and the identifiers
    // followed so far (a second visit is a loop).
    std::vector<std::string> m_pathSteps;
    std::vector<std::string> m_followedIds;
};
