#include "companion/pki/CertificateStore.h"

#include "companion/log/LogBase.h"
#include "companion/pki/CertMgr.h"
#include "companion/pki/DistinguishedName.h"
#include "companion/pki/SerialNumberText.h"
#include "companion/text/ContentCoding.h"
#include "companion/text/DataBuffer.h"
#include "companion/text/StringBuffer.h"
#include "companion/text/TextCodec.h"
#include "companion/text/XString.h"

#include <algorithm>
#include <cctype>

namespace {

constexpr char kIssuerSerialSeparator = ':';

std::string lowerTrimmed(std::string_view text) {
    StringBuffer sb(text);
    sb.trim2();
    sb.toLowerCase();
    return std::string(sb.view());
}

std::string issuerSerialKey(std::string_view issuerCN, std::string_view serialHex) {
    const std::string serial = SerialNumberText::normalize(serialHex);
    return serial.empty() ? std::string() : lowerTrimmed(issuerCN) + kIssuerSerialSeparator + serial;
}

std::string hexKey(std::string_view bytes) {
    std::string out;
    TextCodec::encodeHex(bytes, false, out);
    return out;
}

std::string dnKey(const StringBuffer& dn) {
    LogNull quiet;
    StringBuffer key;
    return DistinguishedName::toTvCanonHashKey(dn, key, quiet) ? std::string(key.view()) : std::string();
}

std::string valuesKeyOf(const StringBuffer& dn) {
    XString withTags(dn.view());
    XString values;
    DistinguishedName::removeDnTags(withTags, values);
    StringBuffer key;
    return DistinguishedName::toValuesKey(values, key) ? std::string(key.view()) : std::string();
}

// The byte strings that a subject key identifier text may stand for.
std::vector<std::string> keyIdCandidates(std::string_view text) {
    std::vector<std::string> out;
    std::string bytes;
    if (TextCodec::decodeHex(text, bytes) && !bytes.empty())
        out.push_back(bytes);
    bytes.clear();
    if (ContentCoding::decodeBase64(text, bytes) && !bytes.empty())
        out.push_back(bytes);
    return out;
}

} // namespace

bool CertificateStore::addCertificate(const X509Certificate& cert, LogBase& log) {
    DataBuffer der;
    if (!cert.getCertDer(der)) {
        log.LogError("Cannot add a certificate that is not loaded.");
        return false;
    }
    if (m_byDer.find(std::string(der.view())))
        return true;
    m_holders.push_back(std::make_unique<X509CertificateHolder>(cert));
    indexCertificate(cert, m_holders.size() - 1);
    return true;
}

bool CertificateStore::addCertVault(CertMgr& certMgr, LogBase& log) {
    bool all = true;
    for (int i = 0; i < certMgr.getNumCerts(); ++i)
        all = addCertificate(*certMgr.certAt(i), log) && all;
    log.LogDataLong("numCertsInStore", getNumCerts());
    return all;
}

void CertificateStore::clear() {
    m_holders.clear();
    for (CertIndex* index : {&m_byDer, &m_byIssuerSerial, &m_bySubject, &m_bySubjectValues, &m_byKeyId})
        index->clear();
}

void CertificateStore::indexCertificate(const X509Certificate& cert, size_t position) {
    DataBuffer bytes;
    cert.getCertDer(bytes);
    m_byDer.add(std::string(bytes.view()), position);

    StringBuffer text;
    StringBuffer serial;
    cert.get_IssuerCN(text);
    cert.get_SerialNumber(serial);
    m_byIssuerSerial.add(issuerSerialKey(text.view(), serial.view()), position);

    LogNull quiet;
    cert.getDN(true, true, text, quiet, 0);
    if (std::string key = dnKey(text); !key.empty())
        m_bySubject.add(std::move(key), position);
    if (std::string key = valuesKeyOf(text); !key.empty())
        m_bySubjectValues.add(std::move(key), position);

    if (cert.getSubjectKeyId(bytes) || cert.getPublicKeySha1(bytes))
        m_byKeyId.add(hexKey(bytes.view()), position);
}

X509CertificateHolder* CertificateStore::first(const CertIndex& index, const std::string& key) const {
    const std::vector<size_t>* positions = key.empty() ? nullptr : index.find(key);
    return positions ? m_holders[positions->front()].get() : nullptr;
}

X509Certificate* CertificateStore::findX509(const StringBuffer& serialHex, const StringBuffer& issuerCN,
                                            const StringBuffer* issuerDn, LogBase& log) {
    const std::string key = issuerSerialKey(issuerCN.view(), serialHex.view());
    const std::vector<size_t>* positions = key.empty() ? nullptr : m_byIssuerSerial.find(key);
    if (!positions)
        return nullptr;
    const std::string wantedIssuer = issuerDn ? dnKey(*issuerDn) : std::string();
    for (size_t position : *positions) {
        X509Certificate* cert = m_holders[position]->getX509Ptr();
        StringBuffer issuer;
        if (!issuerDn || (cert->getDN(false, true, issuer, log, 0) && dnKey(issuer) == wantedIssuer))
            return cert;
    }
    return nullptr;
}

X509Certificate* CertificateStore::findBySubjectDN_x509(const XString& dnWithoutTags, const XString& dn,
                                                        bool tryValuesOnly, LogBase& log) {
    X509CertificateHolder* found = first(m_bySubject, dnKey(dn.getUtf8Sb()));
    if (!found && tryValuesOnly) {
        StringBuffer key;
        if (DistinguishedName::toValuesKey(dnWithoutTags, key))
            found = first(m_bySubjectValues, std::string(key.view()));
        if (found && log.verbose())
            log.LogInfo("Matched the subject DN on its values alone.");
    }
    return found ? found->getX509Ptr() : nullptr;
}

X509CertificateHolder* CertificateStore::findBySubjectKeyId(const StringBuffer& ski, LogBase& log) {
    for (const std::string& bytes : keyIdCandidates(ski.view())) {
        if (X509CertificateHolder* found = first(m_byKeyId, hexKey(bytes)))
            return found;
    }
    if (log.verbose())
        log.LogDataSb("skiNotInStore", ski);
    return nullptr;
}

X509Certificate* CertificateStore::findBySubjectName(const X509_NAME& subject) const {
    for (const auto& holder : m_holders) {
        X509Certificate* cert = holder->getX509Ptr();
        if (X509_NAME_cmp(X509_get_subject_name(cert->x509()), &subject) == 0)
            return cert;
    }
    return nullptr;
}

X509Certificate* CertificateStore::findByIssuerNameAndSerial(const X509_NAME& issuer,
                                                             const StringBuffer& serialHex) const {
    const std::string wanted = SerialNumberText::normalize(serialHex.view());
    if (wanted.empty())
        return nullptr;
    StringBuffer serial;
    for (const auto& holder : m_holders) {
        X509Certificate* cert = holder->getX509Ptr();
        if (cert->get_SerialNumber(serial) && SerialNumberText::normalize(serial.view()) == wanted &&
            X509_NAME_cmp(X509_get_issuer_name(cert->x509()), &issuer) == 0)
            return cert;
    }
    return nullptr;
}

const X509Certificate* CertificateStore::certAt(int index) const {
    if (index < 0 || index >= getNumCerts())
        return nullptr;
    return m_holders[static_cast<size_t>(index)]->getX509Ptr();
}

const X509Certificate* CertificateStore::findByDer(const DataBuffer& der) const {
    const X509CertificateHolder* found = first(m_byDer, std::string(der.view()));
    return found ? found->getX509Ptr() : nullptr;
}
