#include "api/DocumentLoading.h"

#include "companion/fs/MappedFile.h"
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
// From this size a document is mapped rather than read: its pages then stay
// in the file cache, and a pass over it gives back those it has passed, so
// the process holds its tree and little of its text. Below it, reading costs
// less than mapping and faulting the pages in.
constexpr uint64_t kMapFrom = 32u << 20;

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

bool mapRegularFile(const RegularFile& file, const std::string& path, DataBuffer& out, std::string& error) {
    std::shared_ptr<const MappedFile> mapped = MappedFile::map(file, error);
    if (!mapped) {
        error = path + ": cannot map: " + error;
        return false;
    }
    out.takeShared(SharedText::ofFile(std::move(mapped)));
    return true;
}

bool readRegularFile(const RegularFile& file, const std::string& path, std::string& bytes, std::string& error) {
    reserveWithHugePages(bytes, static_cast<size_t>(file.size()));
    populateInParallel(bytes.data(), static_cast<size_t>(file.size()));
    if (!file.appendAll(bytes, error)) {
        error = path + ": cannot read: " + error;
        return false;
    }
    return true;
}

} // namespace

bool readDocumentFile(const std::string& path, DataBuffer& out, std::string& error) {
    std::optional<RegularFile> file;
    if (path != kStandardInputName) {
        file = RegularFile::open(path, error);
        if (!file) {
            error = path + ": cannot open: " + error;
            return false;
        }
        if (file->size() >= kMapFrom)
            return mapRegularFile(*file, path, out, error);
    }
    std::string bytes;
    const bool read = file ? readRegularFile(*file, path, bytes, error) : readStandardInput(bytes, error);
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
