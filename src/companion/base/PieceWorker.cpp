#include "companion/base/PieceWorker.h"

#include <system_error>

namespace {

// Waits until ready(value of counter) holds and returns that value. The
// standard wait spins only briefly before sleeping: a longer spin of our own
// measured slower, as the spinning core then slows the producing one.
template <class Ready> uint64_t awaitCounter(const std::atomic<uint64_t>& counter, Ready ready) {
    for (;;) {
        const uint64_t value = counter.load(std::memory_order_acquire);
        if (ready(value))
            return value;
        counter.wait(value, std::memory_order_acquire);
    }
}

} // namespace

PieceWorker::PieceWorker(Consumer consume) : m_consume(std::move(consume)) {
}

PieceWorker::~PieceWorker() {
    finish();
}

bool PieceWorker::start() {
    if (running())
        return true;
    m_handedOver.store(0);
    m_consumed.store(0);
    try {
        m_thread = std::thread([this] { run(); });
    } catch (const std::system_error&) {
        return false;
    }
    return true;
}

void PieceWorker::handOver(std::string& piece) {
    const size_t capacity = piece.capacity();
    const uint64_t count = m_handedOver.load(std::memory_order_relaxed);
    awaitCounter(m_consumed, [count](uint64_t consumed) { return count - consumed < kSlots; });
    // The slot's last piece is consumed; its emptied buffer comes back.
    piece.swap(m_slots[count % kSlots]);
    piece.reserve(capacity);
    m_handedOver.store(count + 1, std::memory_order_release);
    m_handedOver.notify_one();
}

void PieceWorker::finish() {
    if (!running())
        return;
    m_handedOver.fetch_or(kStopping, std::memory_order_release);
    m_handedOver.notify_one();
    m_thread.join();
}

void PieceWorker::run() {
    for (uint64_t consumed = 0;; ++consumed) {
        const uint64_t handedOver = awaitCounter(m_handedOver, [consumed](uint64_t value) {
            return (value & ~kStopping) > consumed || (value & kStopping);
        });
        if ((handedOver & ~kStopping) == consumed)
            return;
        std::string& piece = m_slots[consumed % kSlots];
        m_consume(piece);
        piece.clear();
        m_consumed.store(consumed + 1, std::memory_order_release);
        m_consumed.notify_one();
    }
}
