#pragma once

#include <atomic>
#include <functional>
#include <thread>

// SIGTERM and SIGINT, received by one thread of their own rather than
// whichever thread the kernel picks: block them first, before any other
// thread starts (threads inherit the mask), then watch.
void blockStopSignals();

// Calls `onStop` on the first SIGTERM or SIGINT; destroying the watcher ends
// its thread whether or not one came.
class StopSignalWatcher {
public:
    explicit StopSignalWatcher(std::function<void()> onStop);
    ~StopSignalWatcher();
    StopSignalWatcher(const StopSignalWatcher&) = delete;
    StopSignalWatcher& operator=(const StopSignalWatcher&) = delete;

private:
    std::atomic<bool> m_ending{false};
    std::jthread m_thread;
};
