#include "companion/base/PieceWorker.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>

namespace {

using namespace std::chrono_literals;

std::string pieceNumber(int i) {
    return std::string(static_cast<size_t>(1 + i % 37), static_cast<char>('a' + i % 26)) + std::to_string(i) + ";";
}

// Hands over `count` numbered pieces through one buffer, pausing between
// pieces when asked, and returns what was handed over, in order.
std::string produce(PieceWorker& worker, int count, std::chrono::microseconds pause = 0us) {
    std::string expected;
    std::string buffer;
    buffer.reserve(64);
    for (int i = 0; i < count; ++i) {
        const std::string piece = pieceNumber(i);
        buffer.assign(piece);
        expected += buffer;
        worker.handOver(buffer);
        EXPECT_TRUE(buffer.empty());
        EXPECT_GE(buffer.capacity(), 64u);
        if (pause > 0us)
            std::this_thread::sleep_for(pause);
    }
    return expected;
}

} // namespace

// Every piece is consumed once, in order, whether the consumer keeps up, lags
// (every slot taken) or waits for the producer long enough to sleep.
TEST(PieceWorker, ConsumesEveryPieceInOrder) {
    struct Case {
        int count;
        std::chrono::microseconds producerPause;
        std::chrono::microseconds consumerPause;
    };
    for (const Case c : {Case{5000, 0us, 0us}, Case{200, 0us, 200us}, Case{20, 1500us, 0us}}) {
        std::string consumed;
        PieceWorker worker([&](std::string_view piece) {
            consumed += piece;
            if (c.consumerPause > 0us)
                std::this_thread::sleep_for(c.consumerPause);
        });
        ASSERT_TRUE(worker.start());
        const std::string expected = produce(worker, c.count, c.producerPause);
        worker.finish();
        EXPECT_FALSE(worker.running());
        EXPECT_EQ(consumed, expected) << c.count;
    }
}

// A worker may be started again after finishing; finishing twice, or
// destroying a running worker, waits for what was queued.
TEST(PieceWorker, RestartsAndFinishesOnDestruction) {
    std::string consumed;
    std::string expected;
    {
        PieceWorker worker([&](std::string_view piece) { consumed += piece; });
        for (int round = 0; round < 3; ++round) {
            ASSERT_TRUE(worker.start());
            expected += produce(worker, 50);
            worker.finish();
            worker.finish();
            EXPECT_EQ(consumed, expected) << round;
        }
        ASSERT_TRUE(worker.start());
        expected += produce(worker, 50);
    }
    EXPECT_EQ(consumed, expected);
}
