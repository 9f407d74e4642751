#pragma once

// The verifier's in-memory certificate store.
class SystemCerts {
public:
    virtual ~SystemCerts() = default;
};

// Owns the certificate store of an object that looks certificates up.
class SystemCertsHolder {
public:
    virtual ~SystemCertsHolder() = default;
    SystemCerts& systemCerts() { return m_systemCerts; }

protected:
    SystemCerts m_systemCerts;
};
