#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

class RegularFile;

// A regular file's bytes mapped read-only, followed by a zero byte. The pages
// belong to the system's file cache: a reader that has passed a range can give
// its pages back (releasePages), and reading them again maps them again, so a
// large document need not stay resident in the process while its tree does.
// The file must not be truncated while it is mapped.
class MappedFile {
    struct Token {};

public:
    // Null with `error` set when the system refuses the mapping.
    static std::shared_ptr<const MappedFile> map(const RegularFile& file, std::string& error);

    MappedFile(Token, void* base, size_t reserved, size_t size) : m_base(base), m_reserved(reserved), m_size(size) {}
    ~MappedFile();
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;

    std::string_view view() const { return {static_cast<const char*>(m_base), m_size}; }
    // Unmaps the whole pages inside [begin, end) of the view until they are
    // read again; the bytes do not change.
    void releasePages(size_t begin, size_t end) const;

private:
    void* m_base;
    size_t m_reserved;
    size_t m_size;
};
