#pragma once

#include <cstdint>

// Told how far a long hashing run has come; may stop it.
class HashProgress {
public:
    virtual ~HashProgress() = default;
    // Called after each chunk with the bytes hashed so far; false aborts.
    virtual bool onBytesHashed(uint64_t total) = 0;
};
