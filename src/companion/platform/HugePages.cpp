#include "companion/platform/HugePages.h"

#include <cstdint>
#include <system_error>
#include <thread>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace {

constexpr size_t kHugePage = size_t{2} << 20;
// Below this the faults saved do not pay for the system call.
constexpr size_t kMinimumBytes = 4 * kHugePage;
// Below this a second thread costs more than the faults it takes over.
constexpr size_t kWorthAThread = 8 * kHugePage;

struct PageRange {
    uintptr_t first = 0;
    uintptr_t last = 0;
    bool empty() const { return last <= first; }
    size_t size() const { return last - first; }
    void* at(size_t offset) const { return reinterpret_cast<void*>(first + offset); }
};

// The whole huge pages inside [data, data + bytes).
PageRange hugePagesWithin(const void* data, size_t bytes) {
    const auto begin = reinterpret_cast<uintptr_t>(data);
    return PageRange{(begin + kHugePage - 1) & ~(kHugePage - 1), (begin + bytes) & ~(kHugePage - 1)};
}

} // namespace

void adviseHugePages(const void* data, size_t bytes) {
#if defined(MADV_HUGEPAGE)
    if (bytes < kMinimumBytes)
        return;
    const PageRange range = hugePagesWithin(data, bytes);
    if (!range.empty())
        madvise(range.at(0), range.size(), MADV_HUGEPAGE);
#else
    (void)data;
    (void)bytes;
#endif
}

void BackgroundPopulation::start(void* data, size_t bytes) {
#if defined(MADV_POPULATE_WRITE)
    if (bytes < kWorthAThread || m_thread.joinable())
        return;
    const PageRange range = hugePagesWithin(data, bytes);
    m_stop.store(false);
    auto populate = [this, range] {
        for (size_t done = 0; done < range.size() && !m_stop.load(std::memory_order_relaxed); done += kHugePage)
            madvise(range.at(done), kHugePage, MADV_POPULATE_WRITE);
    };
    try {
        m_thread = std::thread(populate);
    } catch (const std::system_error&) {
    }
#else
    (void)data;
    (void)bytes;
#endif
}

void BackgroundPopulation::finish() {
    if (!m_thread.joinable())
        return;
    m_stop.store(true);
    m_thread.join();
}

void populateInParallel(void* data, size_t bytes) {
#if defined(MADV_POPULATE_WRITE)
    if (bytes < 2 * kWorthAThread)
        return;
    const PageRange range = hugePagesWithin(data, bytes);
    const size_t half = (range.size() / 2) & ~(kHugePage - 1);
    BackgroundPopulation upper;
    upper.start(range.at(half), range.size() - half);
    // A kernel without the advice refuses it; the pages are then faulted in
    // one by one as they are written, as without this call.
    madvise(range.at(0), half, MADV_POPULATE_WRITE);
#else
    (void)data;
    (void)bytes;
#endif
}
