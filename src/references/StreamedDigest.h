#pragma once

#include "companion/base/PieceWorker.h"
#include "companion/canon/CanonSink.h"
#include "companion/crypto/Hasher.h"
#include "companion/text/SubstringSet.h"

#include <string>
#include <string_view>

class DataBuffer;

// Hashes canonical text as the canonicalizer produces it, and notes whether
// a marker occurred in it (the text itself is never held whole). Once the
// output proves long, pieces are hashed on a second thread while the next
// ones are produced.
class StreamedDigest : public CanonSink {
public:
    StreamedDigest(int hashAlg, std::string_view marker);

    void write(std::string_view text) override;
    void handOver(std::string& piece) override;
    // True once any text went through.
    bool used() const { return m_used; }
    bool sawMarker();
    bool final(DataBuffer& digest);

private:
    void consume(std::string_view text);

    Hasher m_hasher;
    std::string m_marker;
    SubstringSet m_markerSearch;
    // The end of the text so far, so a marker split between pieces is seen.
    std::string m_tail;
    size_t m_hashed = 0;
    bool m_used = false;
    bool m_sawMarker = false;
    // Declared last: it stops before the members its thread writes go away.
    PieceWorker m_worker;
};
