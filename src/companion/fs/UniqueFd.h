#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <utility>

// An open file descriptor, closed when its owner goes.
class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : m_fd(fd) {}
    UniqueFd(UniqueFd&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        if (this != &other)
            reset(std::exchange(other.m_fd, -1));
        return *this;
    }
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;
    ~UniqueFd() { reset(); }

    int get() const { return m_fd; }
    explicit operator bool() const { return m_fd >= 0; }
    // A second descriptor of the same open file (same offset); empty when
    // none can be made.
    UniqueFd duplicate() const { return UniqueFd(m_fd >= 0 ? ::fcntl(m_fd, F_DUPFD_CLOEXEC, 0) : -1); }
    void reset(int fd = -1) {
        if (m_fd >= 0)
            ::close(m_fd);
        m_fd = fd;
    }

private:
    int m_fd = -1;
};
