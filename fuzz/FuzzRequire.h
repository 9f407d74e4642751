#pragma once

// A property every input must keep; its failure is a crash the fuzzer
// reports with the input.
inline void require(bool condition) {
    if (!condition)
        __builtin_trap();
}
