#include "companion/crypto/ClsPublicKey.h"
#include "companion/crypto/Digest.h"
#include "companion/crypto/HashIds.h"
#include "companion/log/LogContextExitor.h"
#include "companion/pki/CertificateHolder.h"
#include "companion/pki/CertificateStore.h"
#include "companion/pki/DistinguishedName.h"
#include "companion/xml/ClsXml.h"
#include "keys/KeyInfoReading.h"
#include "keys/KeyResolver.h"
#include "keys/ParsedNameLookups.h"
#include "keys/SeenCertificates.h"
#include "verifier/ClsXmlDSig.h"
#include "verifier/SignerIdentity.h"

namespace {

struct KeyValueForm {
    const char* tag;
    bool publicLoader; // RSA keys load through the public loader
    const char* loaded;
    const char* failed;
};

constexpr KeyValueForm kKeyValueForms[] = {
    {"*:RSAKeyValue", true, "Loaded public key from RSA XML in KeyInfo.", "Failed to parse public key RSA XML"},
    {"*:DSAKeyValue", false, "Loaded public key from DSA XML in KeyInfo.", "Failed to parse public key DSA XML"},
    {"*:ECKeyValue", false, "Loaded public key from ECDSA XML in KeyInfo.", "Failed to parse public key ECDSA XML"},
};

} // namespace

void KeyResolver::found(ExtPtrArrayRc& keys, ClsPublicKey* key, KeySource source) {
    if (!key)
        return;
    key->setOrigin(static_cast<int>(source), key->certificate());
    std::string path;
    for (const std::string& step : m_pathSteps)
        path += step + " → ";
    key->setPath(path + keyPathStep(source));
    keys.appendRefCounted(key);
}

// Literal key values; a malformed one ends the whole resolution.
bool KeyResolver::keysFromKeyValue(ClsXml& keyInfo, ExtPtrArrayRc& keys, LogBase& log) {
    RefPtr<ClsXml> keyValue(keyInfo.getChildWithTagUtf8("*:KeyValue"));
    if (!keyValue)
        return true;
    for (const KeyValueForm& form : kKeyValueForms) {
        RefPtr<ClsXml> element(keyValue->getChildWithTagUtf8(form.tag));
        if (!element)
            continue;
        RefPtr<ClsPublicKey> key(ClsPublicKey::createNewCls());
        if (!key)
            return false;
        XString xml;
        element->GetXml(xml);
        if (!(form.publicLoader ? key->LoadXml(xml) : key->loadXml(xml, log))) {
            log.LogError(form.failed);
            return false;
        }
        log.LogInfo(form.loaded);
        found(keys, key.release(), KeySource::KeyValue);
    }
    return true;
}

ClsXml* ClsXmlDSig::GetKeyInfo() {
    CritSecExitor lock(m_critSec);
    LogContextExitor ctx(*this, "GetKeyInfo");
    m_log.clearLastJsonData();
    return getKeyInfo(m_log);
}

ClsXml* ClsXmlDSig::getKeyInfo(LogBase& log) {
    LogContextExitor ctx(log, "getKeyInfo");
    log.LogDataLong("numSignatures", m_document.signatures.getSize());
    log.LogDataLong("selector", m_selector);
    ClsXml* sig = selectedSignature();
    if (!sig)
        return nullptr;
    ClsXml* keyInfo = sig->getChildWithTagUtf8("*:KeyInfo");
    if (!keyInfo)
        log.LogError("No KeyInfo child.");
    return keyInfo;
}

KeyResolver ClsXmlDSig::keyResolver() {
    KeyResolver resolver(m_certificateStore, m_document.tree.get(), m_policy.limits.maxCertificateBytes,
                         m_report.limit);
    resolver.allowExternalFiles(m_externalRefDirs, m_policy.limits.maxExternalFileBytes);
    return resolver;
}

bool ClsXmlDSig::getPublicKey(bool keyInfoOnly, ExtPtrArrayRc& keys, LogBase& log) {
    LogContextExitor ctx(log, "getXmlDsigPublicKey");
    if (log.verbose())
        log.LogDataLong("bKeyInfoOnly", keyInfoOnly ? 1 : 0);
    if (RefPtr<ClsXml> keyInfo(getKeyInfo(log)); keyInfo) {
        // Keys found before a failure are used as they stand.
        keyResolver().publicKeyFromKeyInfo(*keyInfo, keys, log);
        if (log.verbose())
            log.LogDataLong("numPublicKeys", keys.getSize());
    }
    if (m_signingCertificateKey) {
        m_signingCertificateKey->incRefCount();
        keys.appendRefCounted(m_signingCertificateKey.get());
    }
    if (!keyInfoOnly) {
        if (auto* explicitKey = static_cast<ClsPublicKey*>(m_publicKeys.elementAt(m_selector))) {
            explicitKey->incRefCount();
            keys.appendRefCounted(explicitKey);
        }
        for (int i = 0; i < m_callerKeys.getSize(); ++i) {
            auto* callerKey = static_cast<ClsPublicKey*>(m_callerKeys.elementAt(i));
            callerKey->incRefCount();
            keys.appendRefCounted(callerKey);
        }
    }
    return keys.getSize() > 0;
}

bool KeyResolver::publicKeyFromKeyInfo(ClsXml& keyInfo, ExtPtrArrayRc& keys, LogBase& log) {
    LogContextExitor ctx(log, "publicKeyFromKeyInfo");
    SeenCertificates seen;
    m_pathSteps.clear();
    m_followedIds.clear();
    return resolveKeyInfo(keyInfo, seen, keys, log);
}

// The direct forms first, in the order signers have long relied on; the
// forms of XML-DSig 1.1 and the indirections after them.
bool KeyResolver::resolveKeyInfo(ClsXml& keyInfo, SeenCertificates& seen, ExtPtrArrayRc& keys, LogBase& log) {
    if (!keysFromKeyValue(keyInfo, keys, log))
        return false;
    keysFromX509Data(keyInfo, seen, keys, log);
    keysFromDerEncodedKeyValues(keyInfo, keys, log);
    keysFromKeyInfoReferences(keyInfo, seen, keys, log);
    keysFromRetrievalMethods(keyInfo, seen, keys, log);
    const bool ok = keysFromSecurityTokenReference(keyInfo, seen, keys, log);
    // A name is the weakest pointer: asked last, only when nothing else gave a key.
    keysFromKeyNames(keyInfo, keys, log);
    return ok;
}

bool KeyResolver::keysFromSecurityTokenReference(ClsXml& keyInfo, SeenCertificates& seen, ExtPtrArrayRc& keys,
                                                 LogBase& log) {
    RefPtr<ClsXml> str(keyInfo.getChildWithTagUtf8("*:SecurityTokenReference"));
    if (!str)
        return true;
    if (log.verbose())
        log.LogInfo("Check for and handle SecurityTokenReference cases..");
    keyFromStoreByKeyIdentifier(*str, keys, log);
    if (RefPtr<ClsXml> x509Data(str->getChildWithTagUtf8("*:X509Data")); x509Data) {
        log.LogInfo("The SecurityTokenReference holds X509Data: resolving it as KeyInfo's X509Data...");
        keysFromX509Data(*str, seen, keys, log);
    }
    if (!keyFromReferencedToken(*str, seen, keys, log))
        return false;
    return keyFromThumbprint(*str, seen, keys, log);
}

// The certificates that X509Data of `parent` carries, then those it names
// by issuer and serial, by subject name and by SKI.
void KeyResolver::keysFromX509Data(ClsXml& parent, SeenCertificates& seen, ExtPtrArrayRc& keys, LogBase& log) {
    auto keyOf = [&](X509Certificate* cert) { return cert ? publicKeyFromX509(*cert, log) : nullptr; };
    StringBuffer text;
    if (RefPtr<ClsXml> x509Data(parent.findChild("*:X509Data")); x509Data) {
        const int n = x509Data->numChildrenHavingTagUtf8("*:X509Certificate", log);
        log.LogDataLong("numX509Certificates", n);
        for (int i = 0; i < n; ++i) {
            x509Data->put_I(i);
            if (x509Data->getChildContentUtf8("*:X509Certificate[i]", text, false) && !text.isEmpty())
                found(keys, publicKeyFromCertBase64(text, seen, log), KeySource::KeyInfoCertificate);
        }
    }

    key_info::IssuerSerial issuerSerial;
    if (key_info::readIssuerSerial(parent, issuerSerial, log) && !seen.contains(issuerSerial.key, log)) {
        auto lookUp = [&] {
            ClsPublicKey* key =
                issuerSerial.hasCommonName
                    ? getPublicKeyByIssuerNameAndSerial(issuerSerial.issuerCN, issuerSerial.serialHex, log)
                    : nullptr;
            return key ? key : keyOf(key_info::certByIssuerRdnsAndSerial(m_store, issuerSerial, log));
        };
        ClsPublicKey* key = lookUp();
        if (!key && key_info::readSerialAsHex(issuerSerial, log))
            key = lookUp();
        found(keys, key, KeySource::StoreByIssuerSerial);
    }

    if (key_info::unseenSubjectName(parent, seen, text, log)) {
        StringBuffer reversed;
        reverseSubjectNameDN(text, reversed);
        ClsPublicKey* key = getPublicKeyBySubjectName(reversed, log);
        if (!key)
            key = keyOf(key_info::certBySubjectRdns(m_store, text, log));
        found(keys, key, KeySource::StoreBySubjectName);
    }

    if (parent.getChildContentUtf8("*:X509Data|*:X509SKI", text, false) && !text.isEmpty())
        found(keys, getPublicKeyBySKI(text, log), KeySource::StoreBySki);
    if (RefPtr<ClsXml> x509Data(parent.findChild("*:X509Data")); x509Data)
        keysFromX509Digests(*x509Data, keys, log);
}

void KeyResolver::keyFromStoreByKeyIdentifier(ClsXml& str, ExtPtrArrayRc& keys, LogBase& log) {
    StringBuffer identifier;
    if (!str.getChildContentUtf8("*:KeyIdentifier", identifier, false) || identifier.isEmpty())
        return;
    StringBuffer valueType;
    str.getChildAttrValue("*:KeyIdentifier", "ValueType", valueType);
    log.LogDataSb("ValueType", valueType);
    if (valueType.endsWith("#X509v3")) {
        if (!certificateWithinLimit(identifier, log))
            return;
        std::unique_ptr<CertificateHolder> holder =
            CertificateHolder::createFromBase64(identifier.getString(), identifier.getSize(), &m_store, log);
        if (holder)
            if (X509Certificate* cert = holder->getCertPtr(log))
                found(keys, publicKeyFromX509(*cert, log), KeySource::WsSecurityToken);
        return;
    }
    if (X509CertificateHolder* holder = m_store.findBySubjectKeyId(identifier, log))
        if (X509Certificate* cert = holder->getX509Ptr())
            found(keys, publicKeyFromX509(*cert, log), KeySource::StoreBySki);
}

bool KeyResolver::keyFromReferencedToken(ClsXml& str, SeenCertificates& seen, ExtPtrArrayRc& keys, LogBase& log) {
    RefPtr<ClsXml> reference(str.getChildWithTagUtf8("*:Reference"));
    if (!reference)
        return true;
    if (log.verbose())
        log.LogInfo("We have a *:Reference...");
    const key_info::TokenSearch search{"Need to locate BinarySecurityToken within XML...", true};
    StringBuffer certText;
    if (!key_info::referencedTokenCertificate(*reference, m_document, search, certText, *this, log))
        return false;
    ClsPublicKey* key = publicKeyFromCertBase64(certText, seen, log);
    if (!key) {
        log.LogError("Failed to get public key from cert.");
        return false;
    }
    found(keys, key, KeySource::WsSecurityToken);
    return true;
}

bool KeyResolver::keyFromThumbprint(ClsXml& str, SeenCertificates& seen, ExtPtrArrayRc& keys, LogBase& log) {
    RefPtr<ClsXml> keyIdentifier(str.getChildWithTagUtf8("*:KeyIdentifier"));
    if (!keyIdentifier)
        return true;
    log.LogInfo("We have a *:SecurityTokenReference/KeyIdentifier...");
    StringBuffer encodingType, valueType, identifier;
    keyIdentifier->getAttrValue("EncodingType", encodingType);
    keyIdentifier->getAttrValue("ValueType", valueType);
    keyIdentifier->get_Content(identifier);
    if (!valueType.containsSubstring("ThumbprintSHA1"))
        return true;
    log.LogInfo("Need to find the cert from the binary security token with a given SHA1 thumbprint...");
    log.LogDataSb("sbKeyIdentData", identifier);
    log.LogInfo("Need to locate BinarySecurityToken within XML...");
    if (!m_document)
        return false;
    RefPtr<ClsXml> bst(
        m_document->searchForAttribute(nullptr, "*:BinarySecurityToken", "*:ValueType", false, "*#X509v3"));
    if (!bst) {
        log.LogError("Failed to find the wsse:BinarySecurityToken element");
        return false;
    }
    StringBuffer certText;
    bst->get_Content(certText);
    // The thumbprint is logged for the reader; the first X.509 token is used
    // whatever its thumbprint, as the signers that use this form expect.
    DataBuffer der, sha1;
    der.appendEncoded(certText.view(), "base64");
    Digest::doHash(der.getData(), der.getSize(), hash_alg::kSha1, sha1);
    StringBuffer sha1Base64;
    sha1.encodeDB("base64", sha1Base64);
    log.LogDataSb("sbSha1Base64", sha1Base64);

    ClsPublicKey* key = publicKeyFromCertBase64(certText, seen, log);
    if (!key) {
        log.LogError("Failed to get public key from cert.");
        return false;
    }
    log.LogInfo("Got public key from base64 cert.");
    found(keys, key, KeySource::WsSecurityToken);
    return true;
}
