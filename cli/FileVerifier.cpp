#include "FileVerifier.h"

#include "DocumentLoader.h"
#include "FailureReason.h"

#include "companion/crypto/ClsPublicKey.h"
#include "companion/fs/FileSys.h"
#include "companion/log/LogContextExitor.h"
#include "companion/pki/ClsXmlCertVault.h"
#include "companion/xml/ClsXml.h"
#include "verifier/ClsXmlDSig.h"

#include <filesystem>

namespace {

bool loadCertificates(const std::vector<std::string>& paths, ClsXmlCertVault& vault, std::string& error) {
    for (const std::string& path : paths) {
        XString p;
        p.setFromUtf8(path);
        bool isDir = false;
        LogNull quiet;
        FileSys::fileExistsX(p, isDir, quiet);
        if (!(isDir ? vault.AddCertDir(p) : vault.AddCertFile(p))) {
            error = path + ": no certificate could be read";
            return false;
        }
    }
    return true;
}

} // namespace

FileVerifier::FileVerifier(const VerifySettings& settings) : m_settings(settings), m_dsig(ClsXmlDSig::createNewCls()) {
}

FileVerifier::~FileVerifier() = default;

bool FileVerifier::configure(std::string& error) {
    if (!m_settings.keyFile.empty()) {
        m_key.reset(ClsPublicKey::createNewCls());
        XString path;
        path.setFromUtf8(m_settings.keyFile);
        if (!m_key->LoadFromFile(path)) {
            error = m_settings.keyFile + ": not a public key or certificate";
            return false;
        }
    }
    if (!m_settings.certPaths.empty()) {
        RefPtr<ClsXmlCertVault> vault(ClsXmlCertVault::createNewCls());
        if (!loadCertificates(m_settings.certPaths, *vault, error))
            return false;
        m_dsig->UseCertVault(*vault);
    }
    if (m_settings.hasHmacKey) {
        XString key, encoding;
        key.setFromUtf8(m_settings.hmacKey);
        encoding.setFromUtf8(m_settings.hmacEncoding);
        if (!m_dsig->SetHmacKey(key, encoding)) {
            error = "--hmac-key is not valid " + m_settings.hmacEncoding;
            return false;
        }
    }
    m_dsig->put_IgnoreExternalRefs(m_settings.ignoreExternalRefs);
    XString text;
    text.setFromUtf8(m_settings.uncommonOptions);
    m_dsig->put_UncommonOptions(text);
    XString verifyOptions;
    verifyOptions.setFromUtf8(m_settings.verifyOptions);
    m_dsig->put_VerifyOptions(verifyOptions);
    m_dsig->put_VerboseLogging(m_settings.verbose);
    return true;
}

FileResult FileVerifier::verify(const std::string& path) {
    FileResult result;
    result.path = path;
    if (!loadDocumentFile(*m_dsig, path, result.error))
        return result;
    useExternalRefDirs(path);
    std::vector<int> indexes;
    if (!selectedIndexes(result, indexes))
        return result;
    for (int index : indexes) {
        // An SII run leaves the DTE it extracted for the next run on the same
        // document; each SII signature is judged on a fresh load.
        if (!result.signatures.empty() && m_dsig->profileFlags().isSiiCl &&
            !loadDocumentFile(*m_dsig, path, result.error))
            return result;
        result.signatures.push_back(verifySelected(index));
    }
    return result;
}

// Relative external URIs are looked up in the given directories, then next
// to the document, as a reader of the document would resolve them.
void FileVerifier::useExternalRefDirs(const std::string& documentPath) {
    std::string dirs = m_settings.externalRefDirs;
    std::string own = std::filesystem::path(documentPath).parent_path().string();
    if (own.empty())
        own = ".";
    if (!dirs.empty())
        dirs.push_back(';');
    dirs.append(own);
    XString text;
    text.setFromUtf8(dirs);
    m_dsig->put_ExternalRefDirs(text);
}

bool FileVerifier::selectedIndexes(FileResult& result, std::vector<int>& indexes) {
    const int count = m_dsig->get_NumSignatures();
    if (count == 0) {
        result.error = result.path + ": no signature in the document";
        return false;
    }
    switch (m_settings.selection) {
    case VerifySettings::Selection::All:
        for (int i = 0; i < count; ++i)
            indexes.push_back(i);
        return true;
    case VerifySettings::Selection::Id: {
        CritSecExitor lock(m_dsig->m_critSec);
        LogContextExitor ctx(*m_dsig, "SelectBySignatureId");
        StringBuffer id(m_settings.signatureId);
        if (!m_dsig->selectBySignatureId(id, m_dsig->m_log)) {
            result.error = result.path + ": no signature with Id " + m_settings.signatureId;
            return false;
        }
        indexes.push_back(m_dsig->get_Selector());
        return true;
    }
    case VerifySettings::Selection::Index:
        if (m_settings.selector >= count) {
            result.error = result.path + ": no signature at index " + std::to_string(m_settings.selector);
            return false;
        }
        indexes.push_back(m_settings.selector);
        return true;
    }
    return false;
}

SignatureResult FileVerifier::verifySelected(int index) {
    m_dsig->put_Selector(index);
    // Keys and reference data are kept per signature index.
    if (m_key)
        m_dsig->SetPublicKey(*m_key);
    for (const auto& [refIndex, file] : m_settings.refData) {
        XString path;
        path.setFromUtf8(file);
        m_dsig->SetRefDataFile(refIndex, path);
    }

    SignatureResult r;
    r.index = index;
    r.valid = m_dsig->VerifySignature(m_settings.checkReferences);
    r.refFailReason = m_dsig->get_RefFailReason();
    const LogBase& log = m_dsig->m_log;
    r.failedReferences = failedReferences(log);
    r.references = m_dsig->referenceOutcomes();
    if (!r.valid)
        r.reason = failureReason(log, r.failedReferences);
    if (m_settings.printLog || m_settings.verbose)
        r.logText = log.renderText();
    if (m_settings.json)
        r.logJson = log.renderJson();
    StringBuffer id;
    if (ClsXml* sig = m_dsig->selectedSignature())
        sig->getAttrValue("Id", id);
    r.id = std::string(id.view());
    return r;
}
