#include "companion/crypto/ClsPublicKey.h"
#include "companion/crypto/Digest.h"
#include "companion/fs/RegularFile.h"
#include "companion/log/LogContextExitor.h"
#include "companion/pki/CertificateStore.h"
#include "companion/pki/X509Certificate.h"
#include "companion/text/ContentCoding.h"
#include "companion/text/DataBuffer.h"
#include "companion/text/ExtPtrArray.h"
#include "companion/text/XString.h"
#include "companion/xml/ClsXml.h"
#include "keys/KeyResolver.h"
#include "references/ExternalFileResolution.h"
#include "references/ExternalRefDirs.h"
#include "verifier/DSigReference.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace {

// KeyInfoReference and RetrievalMethod nested deeper than this are refused:
// a signer needs one step, rarely two.
constexpr size_t kMaxIndirections = 3;
constexpr std::string_view kRawX509Certificate = "rawX509Certificate";
constexpr std::string_view kKeyValue = "KeyValue";
constexpr const char* kIdAttributes[] = {"Id", "ID", "id"};

std::string_view localName(std::string_view tag) {
    const size_t colon = tag.find(':');
    return colon == std::string_view::npos ? tag : tag.substr(colon + 1);
}

// What follows '#' in a Type URI ("X509Data", "RSAKeyValue").
std::string_view typeName(const StringBuffer& type) {
    const std::string_view text = type.view();
    const size_t hash = text.rfind('#');
    return hash == std::string_view::npos ? std::string_view{} : text.substr(hash + 1);
}

// The element matches the Type a RetrievalMethod states: the same name, or a
// KeyValue holding the key value named.
bool matchesType(std::string_view element, std::string_view type) {
    return type.empty() || element == type || (element == kKeyValue && type.ends_with(kKeyValue));
}

std::string base64Text(const ClsXml& element) {
    StringBuffer text;
    element.get_Content(text);
    std::string compact;
    for (char c : text.view())
        if (c != ' ' && c != '\n' && c != '\r' && c != '\t')
            compact += c;
    return compact;
}

// Follows one level of indirection for the lifetime of the object.
class PathStep {
public:
    PathStep(std::vector<std::string>& steps, std::string step) : m_steps(steps) { m_steps.push_back(std::move(step)); }
    ~PathStep() { m_steps.pop_back(); }
    PathStep(const PathStep&) = delete;
    PathStep& operator=(const PathStep&) = delete;

private:
    std::vector<std::string>& m_steps;
};

bool certificateNamed(const X509Certificate& cert, const StringBuffer& name, LogBase& log) {
    StringBuffer cn, dn;
    if (cert.get_SubjectCN(cn) && cn.equals(name.view()))
        return true;
    return cert.getDN(true, true, dn, log, 0) && dn.equals(name.view());
}

} // namespace

void KeyResolver::keysFromDerEncodedKeyValues(ClsXml& keyInfo, ExtPtrArrayRc& keys, LogBase& log) {
    ExtPtrArrayRc elements;
    keyInfo.childrenWithTag("*:DEREncodedKeyValue", elements);
    for (int i = 0; i < elements.getSize(); ++i) {
        DataBuffer der;
        RefPtr<ClsPublicKey> key(ClsPublicKey::createNewCls());
        const auto* element = static_cast<const ClsXml*>(elements.elementAt(i));
        if (!ContentCoding::decodeBase64ToDb(base64Text(*element), der) || !key->loadAnyDer(der, log)) {
            log.LogError("A DEREncodedKeyValue is not a DER public key.");
            continue;
        }
        log.LogInfo("Loaded public key from DEREncodedKeyValue in KeyInfo.");
        found(keys, key.release(), KeySource::DerEncodedKeyValue);
    }
}

// A certificate of the store whose digest under the stated method is the
// one written.
void KeyResolver::keysFromX509Digests(ClsXml& x509Data, ExtPtrArrayRc& keys, LogBase& log) {
    ExtPtrArrayRc digests;
    x509Data.childrenWithTag("*:X509Digest", digests);
    for (int i = 0; i < digests.getSize(); ++i) {
        const auto* element = static_cast<const ClsXml*>(digests.elementAt(i));
        StringBuffer method;
        element->getAttrValue("Algorithm", method);
        const int hashAlg = DSigReference::digestMethodHashAlg(method);
        DataBuffer wanted;
        if (hashAlg == 0 || !ContentCoding::decodeBase64ToDb(base64Text(*element), wanted)) {
            log.LogError("An X509Digest names no known digest, or is not base64.");
            log.LogDataSb("x509DigestAlgorithm", method);
            continue;
        }
        for (int c = 0; c < m_store.getNumCerts(); ++c) {
            const X509Certificate* cert = m_store.certAt(c);
            DataBuffer der, digest;
            if (!cert || !cert->getCertDer(der) || !Digest::doHash(der.getData(), der.getSize(), hashAlg, digest) ||
                !digest.equals(wanted))
                continue;
            log.LogInfo("Found the certificate of an X509Digest in the store.");
            X509Certificate shared(*cert);
            found(keys, publicKeyFromX509(shared, log), KeySource::StoreByX509Digest);
            break;
        }
    }
}

// KeyName names a certificate of the store by its subject's common name or
// its whole subject.
void KeyResolver::keysFromKeyNames(ClsXml& keyInfo, ExtPtrArrayRc& keys, LogBase& log) {
    if (keys.getSize() > 0)
        return;
    ExtPtrArrayRc names;
    keyInfo.childrenWithTag("*:KeyName", names);
    for (int i = 0; i < names.getSize(); ++i) {
        StringBuffer name;
        static_cast<const ClsXml*>(names.elementAt(i))->get_Content(name);
        name.trim2();
        for (int c = 0; !name.isEmpty() && c < m_store.getNumCerts(); ++c) {
            const X509Certificate* cert = m_store.certAt(c);
            if (!cert || !certificateNamed(*cert, name, log))
                continue;
            log.LogDataSb("keyNameFoundInStore", name);
            X509Certificate shared(*cert);
            found(keys, publicKeyFromX509(shared, log), KeySource::StoreByKeyName);
            break;
        }
    }
}

ClsXml* KeyResolver::followedElement(const StringBuffer& uri, LogBase& log) {
    const std::string_view text = uri.view();
    if (!text.starts_with('#') || text.size() < 2 || text.find('*') != std::string_view::npos) {
        log.LogError("Only same-document references \"#id\" are followed from KeyInfo.");
        log.LogDataSb("uri", uri);
        return nullptr;
    }
    const std::string id(text.substr(1));
    if (m_pathSteps.size() >= kMaxIndirections ||
        std::find(m_followedIds.begin(), m_followedIds.end(), id) != m_followedIds.end()) {
        log.LogError("KeyInfo indirections loop or go too deep: not followed.");
        log.LogDataSb("uri", uri);
        return nullptr;
    }
    m_followedIds.push_back(id);
    for (const char* attribute : kIdAttributes)
        if (ClsXml* element =
                m_document ? m_document->searchForAttribute(nullptr, nullptr, attribute, true, id.c_str()) : nullptr)
            return element;
    log.LogError("No element has the identifier KeyInfo names.");
    log.LogDataSb("uri", uri);
    return nullptr;
}

void KeyResolver::keysFromKeyInfoReferences(ClsXml& keyInfo, SeenCertificates& seen, ExtPtrArrayRc& keys,
                                            LogBase& log) {
    ExtPtrArrayRc references;
    keyInfo.childrenWithTag("*:KeyInfoReference", references);
    for (int i = 0; i < references.getSize(); ++i) {
        StringBuffer uri;
        static_cast<const ClsXml*>(references.elementAt(i))->getAttrValue("URI", uri);
        RefPtr<ClsXml> target(followedElement(uri, log));
        if (!target)
            continue;
        if (localName(target->tag()) != "KeyInfo") {
            log.LogError("A KeyInfoReference names an element that is not a KeyInfo.");
            continue;
        }
        const PathStep step(m_pathSteps, "KeyInfoReference");
        resolveKeyInfo(*target, seen, keys, log);
    }
}

void KeyResolver::keysFromRetrievalMethods(ClsXml& keyInfo, SeenCertificates& seen, ExtPtrArrayRc& keys, LogBase& log) {
    ExtPtrArrayRc methods;
    keyInfo.childrenWithTag("*:RetrievalMethod", methods);
    for (int i = 0; i < methods.getSize(); ++i) {
        const auto* method = static_cast<const ClsXml*>(methods.elementAt(i));
        StringBuffer uri, type;
        method->getAttrValue("URI", uri);
        method->getAttrValue("Type", type);
        if (RefPtr<ClsXml> transforms(method->getChildWithTagUtf8("*:Transforms")); transforms) {
            log.LogError("The transforms of a RetrievalMethod are not applied: it is not followed.");
            continue;
        }
        const PathStep step(m_pathSteps, "RetrievalMethod");
        if (typeName(type) == kRawX509Certificate) {
            keyFromRetrievedFile(uri, seen, keys, log);
            continue;
        }
        if (RefPtr<ClsXml> target(followedElement(uri, log)); target)
            keysFromRetrievedElement(*target, type, seen, keys, log);
    }
}

// The element is read as the content of a KeyInfo of its own: a key value
// inside a KeyValue, the rest as it stands.
void KeyResolver::keysFromRetrievedElement(ClsXml& element, const StringBuffer& type, SeenCertificates& seen,
                                           ExtPtrArrayRc& keys, LogBase& log) {
    const std::string_view name = localName(element.tag());
    if (!matchesType(name, typeName(type))) {
        log.LogError("A RetrievalMethod's Type does not match the element it names.");
        log.LogDataSb("type", type);
        return;
    }
    StringBuffer xml;
    if (!element.getXml(false, xml, log))
        return;
    const bool keyValue = name.ends_with(kKeyValue) && name != kKeyValue;
    const std::string wrapped = std::string("<KeyInfo>") + (keyValue ? "<KeyValue>" : "") + std::string(xml.view()) +
                                (keyValue ? "</KeyValue>" : "") + "</KeyInfo>";
    RefPtr<ClsXml> keyInfo(ClsXml::createNewCls());
    if (keyInfo && keyInfo->loadXml(wrapped, true, log))
        resolveKeyInfo(*keyInfo, seen, keys, log);
}

// A raw DER certificate from the external-reference folders, as external
// references read their data.
void KeyResolver::keyFromRetrievedFile(const StringBuffer& uri, SeenCertificates& seen, ExtPtrArrayRc& keys,
                                       LogBase& log) {
    ExtPtrArraySb dirs;
    if (m_externalDirs)
        splitExternalRefDirs(*m_externalDirs, dirs);
    std::optional<uint64_t> oversize;
    std::optional<ExternalFile> file =
        dirs.getSize() > 0 ? resolveExternalFile(uri.view(), dirs, m_maxExternalFileBytes, oversize, log)
                           : std::nullopt;
    std::string der, error;
    if (!file || !file->file.appendAll(der, error)) {
        log.LogError("The certificate a RetrievalMethod names is not in the external-reference folders.");
        log.LogDataSb("uri", uri);
        return;
    }
    DataBuffer bytes;
    bytes.append(der);
    StringBuffer text;
    bytes.encodeDB("base64", text);
    found(keys, publicKeyFromCertBase64(text, seen, log), KeySource::RetrievedCertificate);
}
