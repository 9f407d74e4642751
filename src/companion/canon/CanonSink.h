#pragma once

#include <string>
#include <string_view>

// Receives canonical text piece by piece, so that a large output can be
// consumed (hashed) without being held whole.
class CanonSink {
public:
    virtual ~CanonSink() = default;
    virtual void write(std::string_view text) = 0;
    // Takes a whole buffer and leaves an empty one in its place, which the
    // producer fills next. A sink that consumes on another thread swaps
    // buffers instead of copying.
    virtual void handOver(std::string& piece) {
        write(piece);
        piece.clear();
    }
};
