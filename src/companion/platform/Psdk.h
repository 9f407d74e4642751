#pragma once

#include <cstdint>

// What the library asks of the host platform: a clock for seeding, and the
// constants of the identifier generator.
class Psdk {
public:
    // Milliseconds since an arbitrary start (the system's boot); wraps.
    static uint32_t getTickCount();

    // Multiplier and modulus of the identifier generator's multiplicative
    // step: state = (state * n1() mod 2^32) mod n2().
    static uint32_t n1();
    static uint32_t n2();

    // Maps value onto lo..hi (both included); lo when hi < lo.
    static int toIntRange(uint32_t value, int lo, int hi);
};
