#pragma once

#include "companion/fs/DataSource.h"

#include <cstdio>
#include <memory>

class XString;

// A file read as a data source.
class FileDataSource : public DataSource {
public:
    // Opens the file for reading; false (logged) when it cannot be opened.
    bool openDataSourceFile(const XString& path, LogBase& log);
    bool readSource(unsigned char* buf, size_t cap, size_t& n, LogBase& log) override;

private:
    struct FileCloser {
        void operator()(std::FILE* f) const { std::fclose(f); }
    };
    std::unique_ptr<std::FILE, FileCloser> m_file;
};
