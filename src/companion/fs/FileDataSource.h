#pragma once

#include "companion/fs/DataSource.h"
#include "companion/fs/RegularFile.h"

#include <cstdint>
#include <optional>

class XString;

// A regular file read as a data source.
class FileDataSource : public DataSource {
public:
    // Opens the file for reading; false (logged) when it cannot be opened or
    // is not a regular file.
    bool openDataSourceFile(const XString& path, LogBase& log);
    // Reads a file opened elsewhere, from its start; false (logged) when it
    // is not a regular file.
    bool openDescriptor(UniqueFd fd, LogBase& log);
    bool readSource(unsigned char* buf, size_t cap, size_t& n, LogBase& log) override;

private:
    std::optional<RegularFile> m_file;
    uint64_t m_offset = 0;
};
