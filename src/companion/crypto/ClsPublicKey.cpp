#include "companion/crypto/ClsPublicKey.h"

#include "companion/crypto/KeyValueXml.h"
#include "companion/crypto/PublicKeyDecode.h"
#include "companion/fs/FileSys.h"
#include "companion/log/LogContextExitor.h"
#include "companion/text/DataBuffer.h"
#include "companion/text/XString.h"
#include "companion/xml/ClsXml.h"

namespace {

constexpr const char* kKeyTypeNames[] = {"empty", "rsa", "dsa", "ecc", "eddsa"};

} // namespace

ClsPublicKey* ClsPublicKey::createNewCls() {
    return new ClsPublicKey();
}

bool ClsPublicKey::LoadXml(XString& xml) {
    CritSecExitor lock(m_critSec);
    LogContextExitor ctx(*this, "LoadXml");
    const bool ok = loadXml(xml, m_log);
    logSuccessFailure(ok);
    return ok;
}

bool ClsPublicKey::LoadFromFile(XString& path) {
    CritSecExitor lock(m_critSec);
    LogContextExitor ctx(*this, "LoadFromFile");
    const bool ok = loadFromFile(path, m_log);
    logSuccessFailure(ok);
    return ok;
}

void ClsPublicKey::get_KeyType(XString& out) {
    CritSecExitor lock(m_critSec);
    out.setFromUtf8(kKeyTypeNames[m_key.keyType()]);
}

int ClsPublicKey::get_KeySize() {
    CritSecExitor lock(m_critSec);
    return m_key.bitLength();
}

bool ClsPublicKey::takeKey(PkeyPtr pkey, LogBase& log) {
    if (!pkey)
        return false;
    if (!m_key.setPkey(std::move(pkey))) {
        log.LogError("Only RSA, DSA, EC and EdDSA public keys are supported.");
        return false;
    }
    log.LogDataStr("keyType", kKeyTypeNames[m_key.keyType()]);
    log.LogDataLong("keyBits", m_key.bitLength());
    return true;
}

bool ClsPublicKey::loadXml(XString& xml, LogBase& log) {
    LogContextExitor ctx(log, "loadXml");
    m_key.clear();
    const RefPtr<ClsXml> root(ClsXml::createNewCls());
    if (!root || !root->loadXml(xml.getUtf8Sb_rw(), true, log))
        return false;
    PkeyPtr pkey = key_value_xml::pkeyFromXml(*root, log);
    if (!pkey) {
        log.LogError("Failed to load the public key from XML.");
        return false;
    }
    return takeKey(std::move(pkey), log);
}

bool ClsPublicKey::loadAnyDer(DataBuffer& der, LogBase& log) {
    LogContextExitor ctx(log, "loadAnyDer");
    m_key.clear();
    PkeyPtr pkey = public_key_decode::fromKeyDer(der.view());
    if (!pkey) {
        log.LogError("Not a DER SubjectPublicKeyInfo or RSAPublicKey.");
        return false;
    }
    return takeKey(std::move(pkey), log);
}

bool ClsPublicKey::loadPkey(PkeyPtr pkey, LogBase& log) {
    LogContextExitor ctx(log, "loadPkey");
    m_key.clear();
    if (!pkey) {
        log.LogError("The public key cannot be decoded.");
        return false;
    }
    return takeKey(std::move(pkey), log);
}

bool ClsPublicKey::loadFromFile(XString& path, LogBase& log) {
    LogContextExitor ctx(log, "loadFromFile");
    m_key.clear();
    log.LogDataX("path", path);
    std::string bytes;
    if (!FileSys::readWholeFile(path.getUtf8(), bytes)) {
        log.LogError("Failed to read the file.");
        return false;
    }
    PkeyPtr pkey = public_key_decode::fromFileBytes(bytes, log);
    if (!pkey) {
        log.LogError("The file holds no public key or certificate that can be loaded.");
        return false;
    }
    return takeKey(std::move(pkey), log);
}

void ClsPublicKey::setOrigin(int tag, X509* certificate) {
    m_originTag = tag;
    if (certificate)
        X509_up_ref(certificate);
    m_certificate.reset(certificate);
}

bool ClsPublicKey::getDer(DataBuffer& out, LogBase& log) const {
    if (m_key.toSpkiDer(out))
        return true;
    log.LogError("No public key to encode.");
    return false;
}
