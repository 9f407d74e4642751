#include "OutputFile.h"

#include "DescriptorWrite.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr mode_t kOutputMode = 0644;

// A scratch file beside the output, removed unless it was renamed into place.
class ScratchFile {
public:
    explicit ScratchFile(const fs::path& beside) {
        const fs::path folder = beside.has_parent_path() ? beside.parent_path() : fs::path(".");
        m_name = (folder / ("." + beside.filename().string() + ".XXXXXX")).string();
        m_fd = ::mkstemp(m_name.data());
        m_created = m_fd >= 0;
    }
    ~ScratchFile() {
        if (m_fd >= 0)
            ::close(m_fd);
        if (m_created && !m_kept)
            ::unlink(m_name.c_str());
    }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    bool opened() const { return m_fd >= 0; }

    bool write(std::string_view text) {
        return writeAll(m_fd, text) && ::fchmod(m_fd, kOutputMode) == 0 && ::fsync(m_fd) == 0;
    }

    bool renameTo(const fs::path& path) {
        const int fd = m_fd;
        m_fd = -1;
        if (::close(fd) != 0 || ::rename(m_name.c_str(), path.c_str()) != 0)
            return false;
        m_kept = true;
        return true;
    }

private:
    std::string m_name;
    int m_fd = -1;
    bool m_created = false;
    bool m_kept = false;
};

bool sameFile(const fs::path& a, const fs::path& b) {
    std::error_code ec;
    return fs::equivalent(a, b, ec) && !ec;
}

} // namespace

bool writeWholeFile(const fs::path& path, std::string_view text, const fs::path& input, std::string& error) {
    if (sameFile(path, input)) {
        error = path.string() + ": is the input document; not overwritten";
        return false;
    }
    ScratchFile scratch(path);
    if (!scratch.opened() || !scratch.write(text) || !scratch.renameTo(path)) {
        error = path.string() + ": cannot write: " + std::strerror(errno);
        return false;
    }
    return true;
}
