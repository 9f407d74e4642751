#pragma once

#include "companion/crypto/HashEngine.h"

#include <cstddef>
#include <memory>

class DataBuffer;
struct HashAlgorithm;

// A digest computed over data that arrives in pieces, so that large inputs
// are hashed in one pass without being held whole.
class Hasher {
public:
    // Starts a digest with the identifier's algorithm (HashIds.h); false for
    // an unknown or unavailable algorithm.
    bool init(int hashAlg);
    bool update(const void* data, size_t len);
    // Replaces out with the digest; the hasher must be initialised again
    // before further use.
    bool final(DataBuffer& out);

private:
    std::unique_ptr<HashEngine> m_engine;
    const HashAlgorithm* m_alg = nullptr;
};
