#pragma once

#include <cstddef>

class LogBase;

// Bytes that are read in chunks, front to back (a file, a stream).
class DataSource {
public:
    virtual ~DataSource() = default;
    // Reads up to cap bytes into buf and sets n to the count; n is 0 at the
    // end. False on a read error (logged).
    virtual bool readSource(unsigned char* buf, size_t cap, size_t& n, LogBase& log) = 0;
};
