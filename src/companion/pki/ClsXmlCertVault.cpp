#include "companion/pki/ClsXmlCertVault.h"

#include "companion/log/LogContextExitor.h"
#include "companion/pki/CertFileReader.h"
#include "companion/text/XString.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace {

// The regular files of a directory, by name, so that the order of the vault
// does not depend on the file system.
bool listFiles(const std::filesystem::path& dir, std::vector<std::filesystem::path>& out) {
    std::error_code ec;
    for (std::filesystem::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
        if (it->is_regular_file(ec))
            out.push_back(it->path());
    }
    std::sort(out.begin(), out.end());
    return !ec;
}

} // namespace

ClsXmlCertVault* ClsXmlCertVault::createNewCls() {
    return new ClsXmlCertVault();
}

bool ClsXmlCertVault::AddCertFile(XString& path) {
    CritSecExitor lock(m_critSec);
    LogContextExitor ctx(*this, "AddCertFile");
    const bool ok = addCertFile(path, m_log);
    logSuccessFailure(ok);
    return ok;
}

bool ClsXmlCertVault::AddCertDir(XString& dirPath) {
    CritSecExitor lock(m_critSec);
    LogContextExitor ctx(*this, "AddCertDir");
    const bool ok = addCertDir(dirPath, m_log);
    logSuccessFailure(ok);
    return ok;
}

int ClsXmlCertVault::get_NumCerts() {
    CritSecExitor lock(m_critSec);
    return m_certMgr ? m_certMgr->getNumCerts() : 0;
}

void ClsXmlCertVault::addAll(const std::vector<X509Certificate>& certs) {
    if (!m_certMgr && !certs.empty())
        m_certMgr = std::make_unique<CertMgr>();
    for (const X509Certificate& cert : certs)
        m_certMgr->addCertificate(cert);
}

bool ClsXmlCertVault::addCertFile(const XString& path, LogBase& log) {
    LogContextExitor ctx(log, "addCertFile");
    std::vector<X509Certificate> certs;
    if (!CertFileReader::readFile(std::filesystem::path(std::string(path.view())), certs, log))
        return false;
    addAll(certs);
    log.LogDataLong("numCertsInFile", static_cast<long long>(certs.size()));
    return true;
}

bool ClsXmlCertVault::addCertDir(const XString& dirPath, LogBase& log) {
    LogContextExitor ctx(log, "addCertDir");
    std::vector<std::filesystem::path> files;
    if (!listFiles(std::filesystem::path(std::string(dirPath.view())), files)) {
        log.LogError("Failed to read the directory.");
        log.LogDataX("dirPath", dirPath);
        return false;
    }
    std::vector<X509Certificate> certs;
    for (const std::filesystem::path& file : files) {
        LogNull quiet;
        if (!CertFileReader::readFile(file, certs, quiet) && log.verbose())
            log.LogDataStr("noCertificateIn", file.string());
    }
    log.LogDataLong("numCertsInDir", static_cast<long long>(certs.size()));
    if (certs.empty()) {
        log.LogError("The directory holds no certificate.");
        return false;
    }
    addAll(certs);
    return true;
}
