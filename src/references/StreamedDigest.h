#pragma once

#include "companion/canon/CanonSink.h"
#include "companion/crypto/Hasher.h"

#include <string>
#include <string_view>

class DataBuffer;

// Hashes canonical text as the canonicalizer produces it, and notes whether
// a marker occurred in it (the text itself is never held whole).
class StreamedDigest : public CanonSink {
public:
    StreamedDigest(int hashAlg, std::string_view marker);

    void write(std::string_view text) override;
    // True once any text went through.
    bool used() const { return m_used; }
    bool sawMarker() const { return m_sawMarker; }
    bool final(DataBuffer& digest);

private:
    Hasher m_hasher;
    std::string m_marker;
    // The end of the text so far, so a marker split between pieces is seen.
    std::string m_tail;
    bool m_used = false;
    bool m_sawMarker = false;
};
