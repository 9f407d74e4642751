#include "verifier/DSigReference.h"

#include "companion/crypto/HashIds.h"
#include "companion/log/LogContextExitor.h"
#include "companion/xml/ClsXml.h"

bool DSigReference::parseReference(ClsXml& reference, LogBase& log) {
    LogContextExitor ctx(log, "parseReference");
    reference.getAttrValue("Id", m_id);
    m_uriOmitted = true;
    if (reference.getAttrValue("URI", m_uri))
        m_uriOmitted = false;
    if (log.verbose()) {
        log.LogDataSb("Id", m_id);
        log.LogDataSb("URI", m_uri);
    }

    m_transformsXml.clear();
    if (RefPtr<ClsXml> transforms(reference.getNthChildWithTagUtf8("*:Transforms", 0, log)); transforms)
        transforms->getXml(false, m_transformsXml, log);

    reference.getChildAttrValue("*:DigestMethod", "Algorithm", m_digestMethod);
    readDigestValue(reference, m_digestValue);
    if (log.verbose()) {
        log.LogDataSb("DigestMethod", m_digestMethod);
        log.LogDataSb("DigestValue", m_digestValue);
    }
    return true;
}

void DSigReference::readDigestValue(ClsXml& reference, StringBuffer& out) {
    reference.getChildContentUtf8("*:DigestValue", out, false);
    for (char c : {'\n', '\r', '\t', ' '})
        out.removeCharOccurances(c);
}

int DSigReference::digestMethodHashAlg(const StringBuffer& uri) {
    // Ordered: the first substring found decides.
    static constexpr struct {
        const char* name;
        int hashAlg;
    } kDigestNames[] = {
        {"sha256", hash_alg::kSha256},     {"sha512", hash_alg::kSha512},       {"sha384", hash_alg::kSha384},
        {"md5", hash_alg::kMd5},           {"ripemd160", hash_alg::kRipemd160}, {"sha224", hash_alg::kSha224},
        {"sha3-256", hash_alg::kSha3_256}, {"sha3-512", hash_alg::kSha3_512},   {"sha3-384", hash_alg::kSha3_384},
        {"sha3-224", hash_alg::kSha3_224}, {"sha1", hash_alg::kSha1},
    };
    for (const auto& entry : kDigestNames)
        if (uri.containsSubstringNoCase(entry.name))
            return entry.hashAlg;
    return 0;
}

int DSigReference::getHashAlg() const {
    const int hashAlg = digestMethodHashAlg(m_digestMethod);
    return hashAlg != 0 ? hashAlg : hash_alg::kSha1;
}

void DSigReference::logReference(LogBase& log) const {
    LogContextExitor ctx(log, "logDsigReference");
    log.LogDataSb("id", m_id);
    log.LogDataSb("uri", m_uri);
    if (m_uri.isEmpty())
        log.LogDataLong("uriOmitted", m_uriOmitted ? 1 : 0);
    log.LogDataSb("digestMethod", m_digestMethod);
    log.LogDataSb("digestValue", m_digestValue);
    log.LogDataSb("transforms", m_transformsXml);
}
