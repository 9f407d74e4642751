#pragma once

#include "xmldsig/Result.h"
#include "xmldsig/Settings.h"

#include "api/ResultReport.h"

#include "ades/AdesContext.h"

#include "companion/crypto/OpensslPtr.h"
#include "companion/text/RefCountedObject.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

class ClsPublicKey;
class ClsXmlCertVault;
class ClsXmlDSig;
class DataBuffer;

namespace xmldsig {

// The engine behind a Verifier: one signature object configured once from
// the settings, then given document after document.
class VerifierEngine {
public:
    explicit VerifierEngine(Settings settings);
    ~VerifierEngine();

    // Reads the document's bytes (again, when a signature must be judged on
    // a fresh load); false with an error line.
    using DocumentSource = std::function<bool(DataBuffer& out, std::string& error)>;
    // `name` prefixes error messages; `folder` (empty for bytes) is where
    // relative external URIs are looked up after the settings' folders.
    Result verify(const DocumentSource& source, const std::string& name, const std::string& folder);

private:
    Status configure();
    bool load(const DocumentSource& source, const std::string& name, Result& result);
    void useExternalRefDirs(const std::string& folder);
    bool selectedIndexes(Result& result, const std::string& name, std::vector<int>& indexes);
    SignatureResult verifySelected(int index);
    void judgeTrust(SignatureResult& r) const;
    void configureAdes();

    Settings m_settings;
    Status m_configured;
    std::unique_ptr<ClsXmlDSig> m_dsig;
    RefPtr<ClsXmlCertVault> m_vault;
    // The vault's certificates, as intermediates for a chain (owned by it).
    std::vector<X509*> m_certificatePool;
    CertificateReports m_certificateReports;
    std::vector<PolicyDocument> m_policies;
    AdesContext m_adesContext;
};

} // namespace xmldsig
