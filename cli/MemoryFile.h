#pragma once

#include <optional>
#include <string>
#include <string_view>

// Bytes in an anonymous file that lives in memory only (memfd), reachable
// by a path for as long as the object lives: how data that arrived over the
// network is handed to settings that take file names, without touching disk.
class MemoryFile {
public:
    static std::optional<MemoryFile> holding(std::string_view bytes);
    ~MemoryFile();
    MemoryFile(MemoryFile&& other) noexcept;
    MemoryFile& operator=(MemoryFile&& other) noexcept;
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    // "/proc/self/fd/N"
    std::string path() const;

private:
    explicit MemoryFile(int fd) : m_fd(fd) {}
    int m_fd = -1;
};
