#pragma once

#include "companion/pki/TavixX509.h"

// Owns one certificate object, loaded or not; the store hands certificates
// out in holders.
class TavixX509Holder {
public:
    TavixX509Holder() = default;
    explicit TavixX509Holder(const TavixX509& cert) : m_cert(cert) {}
    virtual ~TavixX509Holder() = default;
    TavixX509Holder(const TavixX509Holder&) = delete;
    TavixX509Holder& operator=(const TavixX509Holder&) = delete;

    // The held object, never null: load a certificate into it, or read the
    // one it holds (TavixX509::isLoaded tells which).
    TavixX509* getX509Ptr() { return &m_cert; }
    const TavixX509* getX509Ptr() const { return &m_cert; }

private:
    TavixX509 m_cert;
};
