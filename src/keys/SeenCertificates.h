#pragma once

#include "companion/pki/X509Certificate.h"
#include "companion/text/HashedStringSet.h"

#include <vector>

class LogBase;
class StringBuffer;

// The certificates one KeyInfo resolution has read, so that an
// X509IssuerSerial or X509SubjectName naming one of them is not looked up
// again. A certificate is known by its issuer's CN and serial and by its
// canonical subject name; those are formatted only when first asked for, as
// most KeyInfo elements name no certificate a second way, and formatting the
// names cost more than reading the certificate.
class SeenCertificates {
public:
    SeenCertificates();

    void add(const X509Certificate& cert) { m_unformatted.push_back(cert); }
    // Whether a certificate read so far has the key ("issuerCN:serial", or a
    // subject name's DistinguishedName::toTvCanonHashKey).
    bool contains(const StringBuffer& key, LogBase& log);

private:
    HashedStringSet m_keys;
    std::vector<X509Certificate> m_unformatted;
};
