#include "keys/SeenCertificates.h"

#include "companion/pki/DistinguishedName.h"
#include "companion/text/StringBuffer.h"
#include "keys/KeyInfoReading.h"

SeenCertificates::SeenCertificates() : m_keys(key_info::kDedupeBuckets) {
}

bool SeenCertificates::contains(const StringBuffer& key, LogBase& log) {
    for (const X509Certificate& cert : m_unformatted) {
        StringBuffer issuerCN, serial, issuerSerial;
        cert.get_IssuerCN(issuerCN);
        cert.get_SerialNumber(serial);
        issuerSerial.append3(issuerCN.view(), ":", serial.view());
        m_keys.hashInsertSb(issuerSerial);

        StringBuffer dn, subjectKey;
        cert.getDN(true, true, dn, log, 0);
        DistinguishedName::toTvCanonHashKey(dn, subjectKey, log);
        m_keys.hashInsertSb(subjectKey);
    }
    m_unformatted.clear();
    return m_keys.hashContainsSb(key);
}
