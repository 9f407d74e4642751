#pragma once

#include "VerifyJob.h"

#include "xmldsig/Result.h"
#include "xmldsig/Settings.h"

#include <condition_variable>
#include <deque>
#include <future>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

// A fixed set of worker threads, each with its own engines over one shared,
// read-only set of settings, fed from a queue of bounded length: a document
// that finds the queue full is refused at once rather than held.
class VerificationPool {
public:
    VerificationPool(const xmldsig::Settings& settings, unsigned threads, size_t maxWaiting);
    // Verifies what is queued, then joins the workers.
    ~VerificationPool();
    VerificationPool(const VerificationPool&) = delete;
    VerificationPool& operator=(const VerificationPool&) = delete;

    // The result to come, or nothing when `maxWaiting` documents already wait.
    std::optional<std::future<xmldsig::Result>> submit(VerifyJob job);
    size_t waiting() const;

private:
    struct Task {
        VerifyJob job;
        std::promise<xmldsig::Result> result;
    };
    void work();
    std::optional<Task> nextTask();

    const xmldsig::Settings& m_settings;
    const size_t m_maxWaiting;
    mutable std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<Task> m_queue;
    bool m_stopping = false;
    std::vector<std::jthread> m_workers;
};
