#include "api/VerifierEngine.h"

#include "api/AdesConversion.h"
#include "api/DocumentLoading.h"
#include "api/EngineOptions.h"
#include "api/FailureReason.h"
#include "api/ResultReport.h"
#include "api/SettingsData.h"
#include "api/TrustEvaluation.h"
#include "verifier/VerificationReport.h"

#include "companion/crypto/ClsPublicKey.h"
#include "companion/log/LogContextExitor.h"
#include "companion/pki/CertMgr.h"
#include "companion/pki/ClsXmlCertVault.h"
#include "companion/pki/RevocationChecker.h"
#include "companion/pki/TrustAnchors.h"
#include "companion/xml/ClsXml.h"
#include "verifier/ClsXmlDSig.h"

#include <filesystem>

namespace xmldsig {

namespace {

Status failure(Errc code, std::string message) {
    return {make_error_code(code), std::move(message)};
}

// Revocation data fetched online is kept for the whole process.
const RevocationChecker& processRevocationChecker() {
    static const RevocationChecker checker;
    return checker;
}

XString utf8(std::string_view text) {
    XString x;
    x.setFromUtf8(text);
    return x;
}

} // namespace

VerifierEngine::VerifierEngine(Settings settings)
    : m_settings(std::move(settings)), m_dsig(ClsXmlDSig::createNewCls()) {
    m_configured = configure();
}

VerifierEngine::~VerifierEngine() = default;

// The settings' files were read when they were added; they are read again
// here, for this engine alone.
Status VerifierEngine::configure() {
    const SettingsData& s = m_settings.data();
    for (const std::string& file : s.keyFiles) {
        RefPtr<ClsPublicKey> key(ClsPublicKey::createNewCls());
        XString path = utf8(file);
        if (!key->LoadFromFile(path))
            return failure(Errc::bad_key, file + ": not a public key or certificate");
        m_dsig->addCallerKey(*key);
    }
    if (!s.certPaths.empty()) {
        m_vault.reset(ClsXmlCertVault::createNewCls());
        for (const std::string& path : s.certPaths) {
            XString p = utf8(path);
            std::error_code ec;
            if (!(std::filesystem::is_directory(path, ec) ? m_vault->AddCertDir(p) : m_vault->AddCertFile(p)))
                return failure(Errc::bad_certificate, path + ": no certificate could be read");
        }
        m_dsig->UseCertVault(*m_vault);
        const CertMgr& certs = *m_vault->getCertMgr();
        for (int i = 0; i < certs.getNumCerts(); ++i)
            m_certificatePool.push_back(certs.certAt(i)->x509());
    }
    if (s.hmacKey) {
        XString key = utf8(*s.hmacKey), encoding = utf8(s.hmacEncoding);
        if (!m_dsig->SetHmacKey(key, encoding))
            return failure(Errc::bad_key, "the HMAC secret is not valid " + s.hmacEncoding);
    }
    m_dsig->put_IgnoreExternalRefs(s.ignoreExternalRefs);
    XString options = utf8(engineUncommonOptions(s));
    m_dsig->put_UncommonOptions(options);
    XString verifyOptions = utf8(engineVerifyOptions(s));
    m_dsig->put_VerifyOptions(verifyOptions);
    m_dsig->put_VerboseLogging(s.verboseLog);
    configureAdes();
    return {};
}

void VerifierEngine::configureAdes() {
    const SettingsData& s = m_settings.data();
    for (const SettingsData::PolicyDocument& policy : s.policies)
        m_policies.push_back({policy.identifier, policy.path, policy.bytes});
    m_adesContext.anchors = s.anchors.get();
    m_adesContext.pool = m_certificatePool;
    m_adesContext.at = s.verificationTime;
    m_adesContext.online = s.online;
    m_adesContext.revocation = &processRevocationChecker();
    m_adesContext.policies = m_policies;
}

Result VerifierEngine::verify(const DocumentSource& source, const std::string& name, const std::string& folder) {
    Result result;
    if (!m_configured) {
        result.status = m_configured;
        return result;
    }
    if (!load(source, name, result))
        return result;
    useExternalRefDirs(folder);
    std::vector<int> indexes;
    if (!selectedIndexes(result, name, indexes))
        return result;
    for (int index : indexes) {
        // An SII run leaves the DTE it extracted for the next run on the same
        // document; each SII signature is judged on a fresh load.
        if (!result.signatures.empty() && m_dsig->profileFlags().isSiiCl && !load(source, name, result))
            return result;
        result.signatures.push_back(verifySelected(index));
    }
    return result;
}

bool VerifierEngine::load(const DocumentSource& source, const std::string& name, Result& result) {
    DataBuffer bytes;
    std::string error;
    if (!source(bytes, error)) {
        result.status = failure(Errc::file_unreadable, error);
        return false;
    }
    if (!loadDocument(*m_dsig, bytes, name, error)) {
        result.status = failure(Errc::not_xml, error);
        return false;
    }
    return true;
}

// Relative external URIs are looked up in the given folders, then next to
// the document, as a reader of the document would resolve them.
void VerifierEngine::useExternalRefDirs(const std::string& folder) {
    std::string dirs;
    for (const std::string& dir : m_settings.data().externalRefDirs) {
        if (!dirs.empty())
            dirs.push_back(';');
        dirs.append(dir);
    }
    if (!folder.empty()) {
        if (!dirs.empty())
            dirs.push_back(';');
        dirs.append(folder);
    }
    XString text = utf8(dirs);
    m_dsig->put_ExternalRefDirs(text);
}

bool VerifierEngine::selectedIndexes(Result& result, const std::string& name, std::vector<int>& indexes) {
    const SettingsData& s = m_settings.data();
    const int count = m_dsig->get_NumSignatures();
    if (count == 0) {
        result.status = failure(Errc::no_signature, name + ": no signature in the document");
        return false;
    }
    switch (s.selection) {
    case SettingsData::Selection::All:
        for (int i = 0; i < count; ++i)
            indexes.push_back(i);
        return true;
    case SettingsData::Selection::Id: {
        CritSecExitor lock(m_dsig->m_critSec);
        LogContextExitor ctx(*m_dsig, "SelectBySignatureId");
        StringBuffer id(s.id);
        if (!m_dsig->selectBySignatureId(id, m_dsig->m_log)) {
            result.status = failure(Errc::no_such_signature, name + ": no signature with Id " + s.id);
            return false;
        }
        indexes.push_back(m_dsig->get_Selector());
        return true;
    }
    case SettingsData::Selection::Index:
        if (s.index < 0 || s.index >= count) {
            result.status =
                failure(Errc::no_such_signature, name + ": no signature at index " + std::to_string(s.index));
            return false;
        }
        indexes.push_back(s.index);
        return true;
    }
    return false;
}

SignatureResult VerifierEngine::verifySelected(int index) {
    const SettingsData& s = m_settings.data();
    m_dsig->put_Selector(index);
    // Reference data is kept per signature index.
    for (const auto& [refIndex, file] : s.refData) {
        XString path = utf8(file);
        m_dsig->SetRefDataFile(refIndex, path);
    }

    SignatureResult r;
    r.index = index;
    r.valid = m_dsig->VerifySignature(s.checkReferences);
    if (s.ades) {
        // A signer found through its SigningCertificate verifies the signature again.
        r.ades = adesValidation(m_dsig->ValidateAdes(m_adesContext));
        r.valid = m_dsig->report().valid;
    }
    r.refFailReason = m_dsig->get_RefFailReason();
    const VerificationReport& report = m_dsig->report();
    r.stage = verificationStageName(report.stage);
    for (const AttemptUsed& used : report.attempts)
        r.furtherAttempts.push_back({used.reference, furtherAttemptName(used.attempt)});
    if (report.limit)
        r.limit = LimitHit{report.limit->option, report.limit->count, report.limit->limit};
    r.failedReferences = failedReferences(report);
    r.references = referenceReport(report.references);
    if (r.valid) {
        r.signer = signerReport(report.signer, m_certificateReports);
        judgeTrust(r);
    } else {
        r.reason = failureReason(report);
    }
    const LogBase& log = m_dsig->m_log;
    if (s.logText)
        r.logText = log.renderText();
    if (s.logJson)
        r.logJson = log.renderJson();
    StringBuffer id;
    if (ClsXml* sig = m_dsig->selectedSignature())
        sig->getAttrValue("Id", id);
    r.id = std::string(id.view());
    return r;
}

// Under trust anchors a valid signature stands only when its signer is
// trusted.
void VerifierEngine::judgeTrust(SignatureResult& r) const {
    const SettingsData& s = m_settings.data();
    if (!s.anchors || s.anchors->empty())
        return;
    r.trust = evaluateTrust(*s.anchors, m_dsig->report().signer, m_certificatePool, s.verificationTime,
                            m_dsig->keyInfoCrls());
    if (r.trust.status == Trust::Status::NotTrusted) {
        r.valid = false;
        r.reason = "signer not trusted: " + r.trust.reason;
    }
}

} // namespace xmldsig
