#include "MemoryFile.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace {

bool writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t n = ::write(fd, bytes.data(), bytes.size());
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        bytes.remove_prefix(static_cast<size_t>(n));
    }
    return true;
}

} // namespace

std::optional<MemoryFile> MemoryFile::holding(std::string_view bytes) {
    const int fd = ::memfd_create("xmldsig-data", MFD_CLOEXEC);
    if (fd < 0)
        return std::nullopt;
    MemoryFile file(fd);
    if (!writeAll(fd, bytes))
        return std::nullopt;
    return file;
}

MemoryFile::~MemoryFile() {
    if (m_fd >= 0)
        ::close(m_fd);
}

MemoryFile::MemoryFile(MemoryFile&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {
}

MemoryFile& MemoryFile::operator=(MemoryFile&& other) noexcept {
    if (this != &other) {
        if (m_fd >= 0)
            ::close(m_fd);
        m_fd = std::exchange(other.m_fd, -1);
    }
    return *this;
}

std::string MemoryFile::path() const {
    return "/proc/self/fd/" + std::to_string(m_fd);
}
