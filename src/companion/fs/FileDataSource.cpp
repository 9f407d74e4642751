#include "companion/fs/FileDataSource.h"

#include "companion/log/LogBase.h"
#include "companion/text/XString.h"

#include <cerrno>
#include <cstring>
#include <string>

bool FileDataSource::openDataSourceFile(const XString& path, LogBase& log) {
    std::string error;
    m_file = RegularFile::open(path.getUtf8(), error);
    m_offset = 0;
    if (!m_file) {
        log.LogError("Failed to open file.");
        log.LogDataX("path", path);
        log.LogDataStr("reason", error);
    }
    return m_file.has_value();
}

bool FileDataSource::openDescriptor(UniqueFd fd, LogBase& log) {
    std::string error;
    m_file = RegularFile::adopt(std::move(fd), error);
    m_offset = 0;
    if (!m_file) {
        log.LogError("Failed to open file.");
        log.LogDataStr("reason", error);
    }
    return m_file.has_value();
}

bool FileDataSource::readSource(unsigned char* buf, size_t cap, size_t& n, LogBase& log) {
    n = 0;
    if (!m_file) {
        log.LogError("No file is open.");
        return false;
    }
    const ssize_t got = m_file->readAt(reinterpret_cast<char*>(buf), cap, m_offset);
    if (got < 0) {
        log.LogError("Failed to read file.");
        log.LogDataStr("reason", std::strerror(errno));
        return false;
    }
    n = static_cast<size_t>(got);
    m_offset += n;
    return true;
}
