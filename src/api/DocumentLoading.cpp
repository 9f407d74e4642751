#include "api/DocumentLoading.h"

#include "companion/log/LogContextExitor.h"
#include "companion/platform/HugePages.h"
#include "verifier/ClsXmlDSig.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace xmldsig {

bool readDocumentFile(const std::string& path, DataBuffer& out, std::string& error) {
    // A folder opens like a file, and its end offset is no size.
    std::error_code ec;
    if (std::filesystem::is_directory(path, ec)) {
        error = path + ": cannot open: " + std::strerror(EISDIR);
        return false;
    }
    std::ifstream in(path, std::ios::binary | std::ios::ate);
    if (!in) {
        error = path + ": cannot open: " + std::strerror(errno);
        return false;
    }
    const std::streamsize size = in.tellg();
    in.seekg(0);
    std::string bytes;
    reserveWithHugePages(bytes, static_cast<size_t>(size));
    populateInParallel(bytes.data(), static_cast<size_t>(size));
    bytes.resize(static_cast<size_t>(size));
    if (size > 0 && !in.read(bytes.data(), size)) {
        error = path + ": cannot read";
        return false;
    }
    out.takeString(std::move(bytes));
    return true;
}

bool loadDocument(ClsXmlDSig& dsig, DataBuffer& bytes, std::string_view name, std::string& error) {
    CritSecExitor lock(dsig.m_critSec);
    LogContextExitor ctx(dsig, "LoadSignatureBd");
    if (dsig.loadSignatureBd(bytes, dsig.m_log))
        return true;
    const std::string& reason = dsig.lastFailure();
    error = std::string(name) + ": " + (reason.empty() ? "cannot be loaded as XML" : reason);
    return false;
}

} // namespace xmldsig
