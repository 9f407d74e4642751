#pragma once

#include <cstddef>

// One running digest computation.
class HashEngine {
public:
    virtual ~HashEngine() = default;
    virtual bool update(const unsigned char* data, size_t len) = 0;
    // Writes the digest to out; the engine is spent afterwards.
    virtual bool finish(unsigned char* out) = 0;
};
