#include "companion/pki/CertMgr.h"

#include "companion/text/DataBuffer.h"

bool CertMgr::addCertificate(const X509Certificate& cert) {
    DataBuffer der;
    if (!cert.getCertDer(der) || !m_ders.hashInsert(der.view()))
        return false;
    m_certs.push_back(cert);
    return true;
}

const X509Certificate* CertMgr::certAt(int index) const {
    return (index >= 0 && index < getNumCerts()) ? &m_certs[static_cast<size_t>(index)] : nullptr;
}
