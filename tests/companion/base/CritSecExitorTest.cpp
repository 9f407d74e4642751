#include "companion/base/TavixCritSec.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

TEST(CritSecExitor, SameThreadMayReenter) {
    TavixCritSec cs;
    int depth = 0;
    {
        CritSecExitor outer(cs);
        CritSecExitor inner(cs); // a public method calling another one
        depth = 2;
    }
    // Both levels were released: another thread can take the lock now.
    std::thread other([&] {
        CritSecExitor lock(cs);
        depth = 0;
    });
    other.join();
    EXPECT_EQ(depth, 0);
}

TEST(CritSecExitor, ExcludesOtherThreadsForTheWholeScope) {
    TavixCritSec cs;
    std::atomic<bool> occupied{false};
    std::atomic<int> overlaps{0};
    long long counter = 0;
    constexpr int kThreads = 4;
    constexpr int kRounds = 500;

    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < kRounds; ++i) {
                CritSecExitor lock(cs);
                if (occupied.exchange(true))
                    ++overlaps;
                const long long seen = counter;
                std::this_thread::yield();
                counter = seen + 1;
                occupied = false;
            }
        });
    }
    for (std::thread& t : threads)
        t.join();
    EXPECT_EQ(overlaps, 0);
    EXPECT_EQ(counter, kThreads * kRounds);
}
