#include "companion/fs/FileDataSource.h"

#include "companion/log/LogBase.h"
#include "companion/text/XString.h"

#include <cerrno>
#include <cstring>

bool FileDataSource::openDataSourceFile(const XString& path, LogBase& log) {
    m_file.reset(std::fopen(path.getUtf8(), "rb"));
    if (!m_file) {
        log.LogError("Failed to open file.");
        log.LogDataX("path", path);
        log.LogDataStr("reason", std::strerror(errno));
    }
    return m_file != nullptr;
}

bool FileDataSource::readSource(unsigned char* buf, size_t cap, size_t& n, LogBase& log) {
    n = 0;
    if (!m_file) {
        log.LogError("No file is open.");
        return false;
    }
    n = std::fread(buf, 1, cap, m_file.get());
    if (std::ferror(m_file.get())) {
        log.LogError("Failed to read file.");
        log.LogDataStr("reason", std::strerror(errno));
        return false;
    }
    return true;
}
