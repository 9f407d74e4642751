#include "companion/pki/CertMgr.h"

#include "companion/text/DataBuffer.h"

bool CertMgr::addCertificate(const TavixX509& cert) {
    DataBuffer der;
    if (!cert.getCertDer(der) || !m_ders.hashInsert(der.view()))
        return false;
    m_certs.push_back(cert);
    return true;
}

const TavixX509* CertMgr::certAt(int index) const {
    return (index >= 0 && index < getNumCerts()) ? &m_certs[static_cast<size_t>(index)] : nullptr;
}
