#pragma once

#include "companion/pki/X509Certificate.h"
#include "companion/text/HashedStringSet.h"

#include <vector>

// The certificates of a vault, in the order they were added, without
// duplicates.
class CertMgr {
public:
    virtual ~CertMgr() = default;

    // False when the certificate is not loaded or already held.
    bool addCertificate(const X509Certificate& cert);
    int getNumCerts() const { return static_cast<int>(m_certs.size()); }
    // Null out of range.
    const X509Certificate* certAt(int index) const;

private:
    std::vector<X509Certificate> m_certs;
    HashedStringSet m_ders;
};
