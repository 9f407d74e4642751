#include "ProgressMeter.h"

#include <unistd.h>

namespace {

// Progress is worth showing only for runs this long.
constexpr size_t kMinFilesForProgress = 300;
constexpr auto kRedrawInterval = std::chrono::milliseconds(250);

} // namespace

std::string withThousands(size_t n) {
    std::string digits = std::to_string(n);
    for (int at = static_cast<int>(digits.size()) - 3; at > 0; at -= 3)
        digits.insert(static_cast<size_t>(at), ",");
    return digits;
}

ProgressMeter::ProgressMeter(size_t total, bool enabled, std::ostream& out) : m_total(total), m_out(out) {
    if (enabled)
        m_thread = std::thread(&ProgressMeter::run, this);
}

ProgressMeter::~ProgressMeter() {
    finish();
}

bool ProgressMeter::wanted(size_t files) {
    return files >= kMinFilesForProgress && isatty(STDERR_FILENO);
}

void ProgressMeter::fileDone(bool failed) {
    ++m_done;
    if (failed)
        ++m_failed;
}

void ProgressMeter::finish() {
    if (!m_thread.joinable())
        return;
    {
        std::lock_guard lock(m_mutex);
        m_stop = true;
    }
    m_wake.notify_one();
    m_thread.join();
    m_out << "\r\033[K" << std::flush;
}

void ProgressMeter::run() {
    std::unique_lock lock(m_mutex);
    do
        draw();
    while (!m_wake.wait_for(lock, kRedrawInterval, [this] { return m_stop; }));
}

void ProgressMeter::draw() {
    const size_t done = m_done;
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();
    const auto rate = static_cast<size_t>(seconds > 0 ? done / seconds : 0);
    m_out << "\r\033[K" << withThousands(done) << " of " << withThousands(m_total) << " files, " << withThousands(rate)
          << " files/s, " << withThousands(m_failed) << " failed" << std::flush;
}
