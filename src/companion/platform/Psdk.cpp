#include "companion/platform/Psdk.h"

#include <chrono>

namespace {
// Park and Miller's minimal-standard multiplier and the Mersenne prime
// 2^31 - 1. The 32-bit wrap before the remainder scrambles their sequence;
// that is enough for identifiers that need only be unlikely to repeat within
// one document.
constexpr uint32_t kMultiplier = 16807;
constexpr uint32_t kModulus = 2147483647;
} // namespace

uint32_t Psdk::getTickCount() {
    const auto since = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<uint32_t>(std::chrono::duration_cast<std::chrono::milliseconds>(since).count());
}

uint32_t Psdk::n1() {
    return kMultiplier;
}

uint32_t Psdk::n2() {
    return kModulus;
}

int Psdk::toIntRange(uint32_t value, int lo, int hi) {
    if (hi < lo)
        return lo;
    const auto span = static_cast<uint32_t>(hi - lo) + 1;
    return lo + static_cast<int>(value % span);
}
