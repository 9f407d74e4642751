#include "api/DocumentLoading.h"

#include "companion/fs/RegularFile.h"
#include "companion/log/LogContextExitor.h"
#include "companion/platform/HugePages.h"
#include "verifier/ClsXmlDSig.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace xmldsig {

namespace {

constexpr size_t kStandardInputChunk = 64 * 1024;

// Standard input, whatever it is (a pipe, a terminal, a file), to its end.
bool readStandardInput(std::string& bytes, std::string& error) {
    std::array<char, kStandardInputChunk> chunk;
    for (;;) {
        const ssize_t n = ::read(STDIN_FILENO, chunk.data(), chunk.size());
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0) {
            error = std::string(kStandardInputName) + ": cannot read: " + std::strerror(errno);
            return false;
        }
        if (n == 0)
            return true;
        bytes.append(chunk.data(), static_cast<size_t>(n));
    }
}

bool readRegularFile(const std::string& path, std::string& bytes, std::string& error) {
    std::optional<RegularFile> file = RegularFile::open(path, error);
    if (!file) {
        error = path + ": cannot open: " + error;
        return false;
    }
    reserveWithHugePages(bytes, static_cast<size_t>(file->size()));
    populateInParallel(bytes.data(), static_cast<size_t>(file->size()));
    if (!file->appendAll(bytes, error)) {
        error = path + ": cannot read: " + error;
        return false;
    }
    return true;
}

} // namespace

bool readDocumentFile(const std::string& path, DataBuffer& out, std::string& error) {
    std::string bytes;
    const bool read =
        path == kStandardInputName ? readStandardInput(bytes, error) : readRegularFile(path, bytes, error);
    if (read)
        out.takeString(std::move(bytes));
    return read;
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
