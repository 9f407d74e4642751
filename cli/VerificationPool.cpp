#include "VerificationPool.h"

#include "RequestVerifier.h"

VerificationPool::VerificationPool(const xmldsig::Settings& settings, unsigned threads, size_t maxWaiting)
    : m_settings(settings), m_maxWaiting(maxWaiting) {
    for (unsigned i = 0; i < threads; ++i)
        m_workers.emplace_back([this] { work(); });
}

VerificationPool::~VerificationPool() {
    {
        std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_wake.notify_all();
    m_workers.clear();
}

std::optional<std::future<xmldsig::Result>> VerificationPool::submit(VerifyJob job) {
    std::future<xmldsig::Result> result;
    {
        std::lock_guard lock(m_mutex);
        if (m_queue.size() >= m_maxWaiting || m_stopping)
            return std::nullopt;
        Task& task = m_queue.emplace_back(Task{std::move(job), {}});
        result = task.result.get_future();
    }
    m_wake.notify_one();
    return result;
}

size_t VerificationPool::waiting() const {
    std::lock_guard lock(m_mutex);
    return m_queue.size();
}

std::optional<VerificationPool::Task> VerificationPool::nextTask() {
    std::unique_lock lock(m_mutex);
    m_wake.wait(lock, [this] { return m_stopping || !m_queue.empty(); });
    if (m_queue.empty())
        return std::nullopt;
    Task task = std::move(m_queue.front());
    m_queue.pop_front();
    return task;
}

void VerificationPool::work() {
    RequestVerifier verifier(m_settings);
    while (std::optional<Task> task = nextTask())
        task->result.set_value(verifier.verify(task->job));
}
