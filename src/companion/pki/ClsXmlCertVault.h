#pragma once

#include "companion/base/ClsBase.h"
#include "companion/pki/CertMgr.h"
#include "companion/text/RefCountedObject.h"

#include <memory>
#include <vector>

class LogBase;
class XString;

// A set of certificates that a caller gathers from files and hands to a
// verifier (UseCertVault), which adds them to its certificate store.
// Reference-counted: createNewCls returns it with one reference.
class ClsXmlCertVault : public RefCountedObject, public ClsBase {
public:
    static ClsXmlCertVault* createNewCls();

    // Public calls, logged in the object's own log.
    // Adds the certificates of one file: PEM holding one certificate or a
    // bundle of them (other PEM blocks are skipped), DER, or bare base64.
    bool AddCertFile(XString& path);
    // Adds the certificates of every file in a directory (not its
    // subdirectories); files that hold none are skipped. False when the
    // directory cannot be read or yields no certificate.
    bool AddCertDir(XString& dirPath);
    int get_NumCerts();

    // Internal twins.
    bool addCertFile(const XString& path, LogBase& log);
    bool addCertDir(const XString& dirPath, LogBase& log);

    // The vault's certificates; null while the vault has none.
    CertMgr* getCertMgr() { return m_certMgr.get(); }

private:
    ClsXmlCertVault() = default;
    ~ClsXmlCertVault() override = default;
    void addAll(const std::vector<X509Certificate>& certs);

    std::unique_ptr<CertMgr> m_certMgr;
};
