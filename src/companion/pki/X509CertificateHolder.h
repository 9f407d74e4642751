#pragma once

#include "companion/pki/X509Certificate.h"

// Owns one certificate object, loaded or not; the store hands certificates
// out in holders.
class X509CertificateHolder {
public:
    X509CertificateHolder() = default;
    explicit X509CertificateHolder(const X509Certificate& cert) : m_cert(cert) {}
    virtual ~X509CertificateHolder() = default;
    X509CertificateHolder(const X509CertificateHolder&) = delete;
    X509CertificateHolder& operator=(const X509CertificateHolder&) = delete;

    // The held object, never null: load a certificate into it, or read the
    // one it holds (X509Certificate::isLoaded tells which).
    X509Certificate* getX509Ptr() { return &m_cert; }
    const X509Certificate* getX509Ptr() const { return &m_cert; }

private:
    X509Certificate m_cert;
};
