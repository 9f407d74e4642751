#pragma once

#include "companion/fs/UniqueFd.h"

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

// A regular file open for reading. The checks are made on the open
// descriptor, never on the name, so what is read is what was checked; a FIFO
// is opened without waiting for a writer, so naming one fails at once
// instead of hanging.
class RegularFile {
public:
    // Opens `path` (the caller chose the name: symbolic links are followed).
    // On failure `error` says why: the system's reason, or what kind of file
    // it is instead ("a directory, not a regular file").
    static std::optional<RegularFile> open(const std::string& path, std::string& error);
    // A descriptor opened elsewhere, kept when it is a regular file.
    static std::optional<RegularFile> adopt(UniqueFd fd, std::string& error);

    // A second descriptor of the file, for a reader of its own.
    UniqueFd duplicate() const { return m_fd.duplicate(); }
    // The size when it was opened.
    uint64_t size() const { return m_size; }
    // Up to `cap` bytes from `offset`: the count, 0 at the end, -1 on an
    // error (errno says which).
    ssize_t readAt(char* buf, size_t cap, uint64_t offset) const;
    // Appends every byte, from the start to the end, to `out`.
    bool appendAll(std::string& out, std::string& error) const;

private:
    RegularFile(UniqueFd fd, uint64_t size) : m_fd(std::move(fd)), m_size(size) {}

    UniqueFd m_fd;
    uint64_t m_size;
};
