#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <thread>

// Consumes pieces of a long output on a second thread while the producer
// fills the next piece, so that producing and consuming overlap: hashing the
// canonical form of a large document takes about as long as producing it.
// Pieces are consumed in the order they are handed over; buffers are passed
// back and forth, not copied. One producer thread only.
class PieceWorker {
public:
    using Consumer = std::function<void(std::string_view)>;

    explicit PieceWorker(Consumer consume);
    ~PieceWorker();
    PieceWorker(const PieceWorker&) = delete;
    PieceWorker& operator=(const PieceWorker&) = delete;

    // Starts the thread; false when the system would not start one (the
    // caller then consumes its pieces itself).
    bool start();
    bool running() const { return m_thread.joinable(); }
    // Queues the piece (waiting while every slot is taken) and leaves an
    // empty buffer of at least the same capacity in its place.
    void handOver(std::string& piece);
    // Waits until every queued piece is consumed, then stops the thread.
    void finish();

private:
    // Enough queued pieces (8 MB of canonical text) to ride out the consumer's
    // thread being descheduled for a few milliseconds on a busy host: with 4
    // slots the 200 MB benchmark took 1.3-1.5 s then, with 32 0.9-1.0 s.
    static constexpr size_t kSlots = 32;
    static constexpr uint64_t kStopping = uint64_t{1} << 63;

    void run();

    Consumer m_consume;
    std::array<std::string, kSlots> m_slots;
    // Counts of pieces handed over (kStopping added by finish) and consumed;
    // each written by one side only, so the slots need no lock.
    std::atomic<uint64_t> m_handedOver{0};
    std::atomic<uint64_t> m_consumed{0};
    std::thread m_thread;
};
