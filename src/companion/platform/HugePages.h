#pragma once

#include <atomic>
#include <cstddef>
#include <thread>

// Asks the kernel to back a large, not yet touched allocation with huge
// pages. Filling a 200 MB buffer page by page costs 50,000 page faults, which
// on a virtual machine take longer than reading the bytes; with 2 MB pages it
// is a hundred. Small ranges and platforms without the advice are left alone.
void adviseHugePages(const void* data, size_t bytes);

// Faults in a large allocation that is about to be written whole: the lower
// half here while a BackgroundPopulation takes the upper half. On a virtual
// machine whose host backs memory only when it is first touched, fresh pages
// cost more than the bytes written to them (0.4 s for 200 MB), and two
// threads pay for them in about half the time; what the second has not
// reached when the first is done is faulted in as it is written. Small ranges
// and platforms without the advice are left alone.
void populateInParallel(void* data, size_t bytes);

// Faults in a large allocation on a thread of its own, front to back, while
// the caller fills it front to back: the caller then mostly finds its pages
// present. Stops at the end of the range or when finished, whichever comes
// first; destroying it finishes it. The range must stay allocated until then.
class BackgroundPopulation {
public:
    BackgroundPopulation() = default;
    BackgroundPopulation(const BackgroundPopulation&) = delete;
    BackgroundPopulation& operator=(const BackgroundPopulation&) = delete;
    ~BackgroundPopulation() { finish(); }

    // Starts on a range worth a thread; does nothing on a small one, when
    // already started, or when no thread can be started.
    void start(void* data, size_t bytes);
    void finish();

private:
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};

// Reserves room for `count` elements in a vector (or string) and advises
// huge pages for it before anything is written.
template <class Container> void reserveWithHugePages(Container& c, size_t count) {
    c.reserve(count);
    adviseHugePages(c.data(), c.capacity() * sizeof(*c.data()));
}
