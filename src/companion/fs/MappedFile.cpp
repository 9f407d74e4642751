#include "companion/fs/MappedFile.h"

#include "companion/fs/RegularFile.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>

namespace {

size_t pageSize() {
    static const auto size = static_cast<size_t>(::sysconf(_SC_PAGESIZE));
    return size;
}

} // namespace

std::shared_ptr<const MappedFile> MappedFile::map(const RegularFile& file, std::string& error) {
    const auto size = static_cast<size_t>(file.size());
    // Anonymous zero pages first, one byte longer than the file: the file is
    // mapped over their start, and the byte after it stays zero even when the
    // file ends on a page boundary.
    const size_t reserved = (size + 1 + pageSize() - 1) / pageSize() * pageSize();
    void* base = ::mmap(nullptr, reserved, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (base == MAP_FAILED) {
        error = std::strerror(errno);
        return nullptr;
    }
    const UniqueFd fd = file.duplicate();
    if (size > 0 && (!fd || ::mmap(base, size, PROT_READ, MAP_PRIVATE | MAP_FIXED, fd.get(), 0) == MAP_FAILED)) {
        error = std::strerror(errno);
        ::munmap(base, reserved);
        return nullptr;
    }
    return std::make_shared<const MappedFile>(Token{}, base, reserved, size);
}

MappedFile::~MappedFile() {
    ::munmap(m_base, m_reserved);
}

void MappedFile::releasePages(size_t begin, size_t end) const {
    const auto start = reinterpret_cast<uintptr_t>(m_base);
    const uintptr_t first = (start + begin + pageSize() - 1) & ~(pageSize() - 1);
    const uintptr_t last = (start + std::min(end, m_size)) & ~(pageSize() - 1);
    if (first < last)
        ::madvise(reinterpret_cast<void*>(first), last - first, MADV_DONTNEED);
}
