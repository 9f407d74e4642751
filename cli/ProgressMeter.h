#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <ostream>
#include <string>
#include <thread>

// "1,234,567"
std::string withThousands(size_t n);

// Files done, rate and failures so far, redrawn on one line of a terminal
// while a long run goes on; silent when disabled. Workers call fileDone from
// any thread.
class ProgressMeter {
public:
    ProgressMeter(size_t total, bool enabled, std::ostream& out);
    ~ProgressMeter();
    ProgressMeter(const ProgressMeter&) = delete;
    ProgressMeter& operator=(const ProgressMeter&) = delete;

    void fileDone(bool failed);
    // Stops redrawing and clears the line.
    void finish();

    // Whether a run over `files` on this stderr shows progress: many files,
    // and a terminal to show them on.
    static bool wanted(size_t files);

private:
    void run();
    void draw();

    const size_t m_total;
    std::ostream& m_out;
    const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    std::atomic<size_t> m_done{0};
    std::atomic<size_t> m_failed{0};
    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_stop = false;
    std::thread m_thread;
};
