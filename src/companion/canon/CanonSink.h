#pragma once

#include <string_view>

// Receives canonical text piece by piece, so that a large output can be
// consumed (hashed) without being held whole.
class CanonSink {
public:
    virtual ~CanonSink() = default;
    virtual void write(std::string_view text) = 0;
};
