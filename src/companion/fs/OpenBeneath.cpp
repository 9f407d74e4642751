#include "companion/fs/OpenBeneath.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>
#if __has_include(<linux/openat2.h>)
#include <linux/openat2.h>
#endif

#include <array>
#include <cerrno>
#include <cstring>
#include <deque>
#include <filesystem>
#include <vector>

namespace {

// As the kernel bounds the links one lookup follows.
constexpr int kMaxSymbolicLinks = 40;
constexpr size_t kMaxLinkTarget = 4096;
// Non-blocking, so a FIFO does not wait for a writer.
constexpr int kFileFlags = O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
constexpr int kFolderFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;

OpenedBeneath refused(std::string why) {
    OpenedBeneath out;
    out.refusal = std::move(why);
    return out;
}

OpenedBeneath absent() {
    OpenedBeneath out;
    out.absent = true;
    return out;
}

// The names of a path, empty ones and "." left out, put in front of `pending`.
void prependNames(std::string_view path, std::deque<std::string>& pending) {
    std::vector<std::string> names;
    size_t begin = 0;
    while (begin <= path.size()) {
        size_t end = path.find('/', begin);
        if (end == std::string_view::npos)
            end = path.size();
        const std::string_view name = path.substr(begin, end - begin);
        if (!name.empty() && name != ".")
            names.emplace_back(name);
        begin = end + 1;
    }
    pending.insert(pending.begin(), names.begin(), names.end());
}

// One call where the kernel has openat2: it refuses escapes and every
// symbolic link itself. False when that did not decide (no openat2, or a
// link or ".." above the folder, which the walk resolves or explains).
bool openInOneCall(int folder, std::string_view relative, OpenedBeneath& out) {
#if defined(SYS_openat2) && __has_include(<linux/openat2.h>)
    open_how how{};
    how.flags = kFileFlags;
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS;
    const std::string path(relative);
    const long fd = ::syscall(SYS_openat2, folder, path.c_str(), &how, sizeof how);
    if (fd >= 0) {
        out.file.reset(static_cast<int>(fd));
        out.resolved = std::filesystem::path(path).lexically_normal().string();
        return true;
    }
    if (errno == ENOENT) {
        out.absent = true;
        return true;
    }
#else
    (void)folder;
    (void)relative;
    (void)out;
#endif
    return false;
}

// The path taken one name at a time, each opened from the descriptor of the
// folder before it with O_NOFOLLOW; links are read, not followed, and their
// targets walked the same way.
class BeneathWalk {
public:
    BeneathWalk(int folder, std::string_view folderPath) : m_folder(folder), m_folderPath(folderPath) {}

    OpenedBeneath run(std::string_view relative) {
        prependNames(relative, m_pending);
        while (!m_pending.empty()) {
            std::string name = std::move(m_pending.front());
            m_pending.pop_front();
            if (name == "..") {
                if (m_dirs.empty())
                    return refused("it leads out of the folder");
                m_dirs.pop_back();
                m_names.pop_back();
                continue;
            }
            const bool last = m_pending.empty();
            UniqueFd fd(::openat(current(), name.c_str(), (last ? kFileFlags : kFolderFlags) | O_NOFOLLOW));
            if (fd && last)
                return found(std::move(fd), name);
            if (fd) {
                m_dirs.push_back(std::move(fd));
                m_names.push_back(std::move(name));
                continue;
            }
            const int error = errno;
            if (error == ENOENT)
                return absent();
            std::string why;
            if (!followLink(name, error, why))
                return refused(why);
        }
        return refused("it names a folder");
    }

private:
    int current() const { return m_dirs.empty() ? m_folder : m_dirs.back().get(); }

    OpenedBeneath found(UniqueFd fd, const std::string& name) {
        OpenedBeneath out;
        out.file = std::move(fd);
        for (const std::string& folder : m_names)
            out.resolved += folder + '/';
        out.resolved += name;
        return out;
    }

    // `name` could not be opened: when it is a link, where it leads is
    // walked next; otherwise `openError` is the reason.
    bool followLink(const std::string& name, int openError, std::string& why) {
        std::array<char, kMaxLinkTarget> buf;
        const ssize_t n = ::readlinkat(current(), name.c_str(), buf.data(), buf.size());
        if (n < 0 || static_cast<size_t>(n) == buf.size()) {
            why = n < 0 ? std::strerror(openError) : "a symbolic link too long to follow";
            return false;
        }
        if (++m_links > kMaxSymbolicLinks) {
            why = "too many symbolic links";
            return false;
        }
        const std::string_view target(buf.data(), static_cast<size_t>(n));
        if (!target.starts_with('/')) {
            prependNames(target, m_pending);
            return true;
        }
        std::string_view inside;
        if (!insideFolder(target, inside)) {
            why = "a symbolic link leads to \"" + std::string(target) + "\", outside the folder";
            return false;
        }
        m_dirs.clear();
        m_names.clear();
        prependNames(inside, m_pending);
        return true;
    }

    // The part of an absolute target below the folder's canonical path.
    bool insideFolder(std::string_view target, std::string_view& inside) const {
        const std::string_view base = m_folderPath == "/" ? std::string_view{} : m_folderPath;
        if (m_folderPath.empty() || !target.starts_with(base))
            return false;
        inside = target.substr(base.size());
        return inside.empty() || inside.front() == '/';
    }

    int m_folder;
    std::string_view m_folderPath;
    std::vector<UniqueFd> m_dirs;
    std::vector<std::string> m_names;
    std::deque<std::string> m_pending;
    int m_links = 0;
};

} // namespace

OpenedBeneath openBeneath(int folder, std::string_view folderPath, std::string_view relative) {
    if (relative.starts_with('/'))
        return refused("an absolute path is never followed");
    OpenedBeneath out;
    if (openInOneCall(folder, relative, out))
        return out;
    return BeneathWalk(folder, folderPath).run(relative);
}
