#include "MemoryFile.h"

#include "DescriptorWrite.h"

#include <sys/mman.h>
#include <unistd.h>

#include <utility>

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
