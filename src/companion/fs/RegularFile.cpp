#include "companion/fs/RegularFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace {

constexpr size_t kTailChunk = 8 * 1024;

// What a file that is not regular is, for the reason it is refused.
const char* fileKindName(mode_t mode) {
    if (S_ISDIR(mode))
        return "a directory";
    if (S_ISFIFO(mode))
        return "a FIFO";
    if (S_ISSOCK(mode))
        return "a socket";
    if (S_ISCHR(mode) || S_ISBLK(mode))
        return "a device";
    return "a special file";
}

// A read that failed: nothing of it is kept, and errno says why.
bool failed(std::string& out, size_t start, std::string& error) {
    error = std::strerror(errno);
    out.resize(start);
    return false;
}

} // namespace

std::optional<RegularFile> RegularFile::open(const std::string& path, std::string& error) {
    // Non-blocking: opening a FIFO for reading would otherwise wait for a
    // writer; it has no effect on a regular file.
    UniqueFd fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    if (!fd) {
        error = std::strerror(errno);
        return std::nullopt;
    }
    return adopt(std::move(fd), error);
}

std::optional<RegularFile> RegularFile::adopt(UniqueFd fd, std::string& error) {
    struct stat info {};
    if (::fstat(fd.get(), &info) != 0) {
        error = std::strerror(errno);
        return std::nullopt;
    }
    if (!S_ISREG(info.st_mode)) {
        error = std::string(fileKindName(info.st_mode)) + ", not a regular file";
        return std::nullopt;
    }
    return RegularFile(std::move(fd), static_cast<uint64_t>(info.st_size));
}

ssize_t RegularFile::readAt(char* buf, size_t cap, uint64_t offset) const {
    ssize_t n;
    do
        n = ::pread(m_fd.get(), buf, cap, static_cast<off_t>(offset));
    while (n < 0 && errno == EINTR);
    return n;
}

bool RegularFile::appendAll(std::string& out, std::string& error) const {
    const size_t start = out.size();
    // A byte more than the file had when opened is asked for: a regular file
    // reads short only at its end, so a read that stops before that byte has
    // met the end, and a small file takes one read.
    out.resize(start + m_size + 1);
    uint64_t done = 0;
    bool ended = false;
    while (!ended && done <= m_size) {
        const size_t wanted = m_size + 1 - done;
        const ssize_t n = readAt(out.data() + start + done, wanted, done);
        if (n < 0)
            return failed(out, start, error);
        done += static_cast<uint64_t>(n);
        ended = static_cast<size_t>(n) < wanted;
    }
    out.resize(start + done);
    if (ended)
        return true;
    // What the file has gained since it was opened.
    std::array<char, kTailChunk> chunk;
    ssize_t n;
    while ((n = readAt(chunk.data(), chunk.size(), done)) > 0) {
        out.append(chunk.data(), static_cast<size_t>(n));
        done += static_cast<uint64_t>(n);
    }
    return n == 0 || failed(out, start, error);
}
