#pragma once

#include <cstddef>
#include <cstdint>

class DataBuffer;
class HashProgress;
class LogBase;
class DataSource;

// Digests by hash identifier (HashIds.h).
class Digest {
public:
    // Replaces out with the digest of the bytes; false (out empty) for an
    // unknown or unavailable algorithm.
    static bool doHash(const void* data, size_t len, int hashAlg, DataBuffer& out);

    // Replaces out with the digest of everything the source yields, read in
    // chunks. progress (optional) may abort the run; numBytesHashed
    // (optional) receives the byte count. False on an unknown algorithm, a
    // read error or an abort.
    static bool hashDataSource(DataSource& source, int hashAlg, HashProgress* progress, DataBuffer& out,
                               uint64_t* numBytesHashed, LogBase& log);

    // The identifier of the hash with this dotted OID, or 0.
    static int oidToHashAlg(const char* oid);
    // The digest length in bytes, or 0 for an unknown identifier.
    static size_t hashLen(int hashAlg);
    // The lower-case name ("sha256"), or "unknown".
    static const char* hashName(int hashAlg);
};
