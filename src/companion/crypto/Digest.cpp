#include "companion/crypto/Digest.h"

#include "companion/crypto/HashAlgorithm.h"
#include "companion/crypto/HashProgress.h"
#include "companion/crypto/Hasher.h"
#include "companion/fs/DataSource.h"
#include "companion/log/LogContextExitor.h"
#include "companion/text/DataBuffer.h"

#include <vector>

namespace {
constexpr size_t kSourceChunkLen = 64 * 1024;
constexpr const char* kUnknownName = "unknown";
} // namespace

bool Digest::doHash(const void* data, size_t len, int hashAlg, DataBuffer& out) {
    Hasher hasher;
    if (!hasher.init(hashAlg) || !hasher.update(data, len)) {
        out.clear();
        return false;
    }
    return hasher.final(out);
}

bool Digest::hashDataSource(DataSource& source, int hashAlg, HashProgress* progress, DataBuffer& out,
                            uint64_t* numBytesHashed, LogBase& log) {
    LogContextExitor ctx(log, "hashDataSource");
    out.clear();
    Hasher hasher;
    if (!hasher.init(hashAlg)) {
        log.LogError("Unsupported hash algorithm.");
        log.LogDataLong("hashAlg", hashAlg);
        return false;
    }
    std::vector<unsigned char> chunk(kSourceChunkLen);
    uint64_t total = 0;
    for (;;) {
        size_t n = 0;
        if (!source.readSource(chunk.data(), chunk.size(), n, log))
            return false;
        if (n == 0)
            break;
        if (!hasher.update(chunk.data(), n))
            return false;
        total += n;
        if (progress && !progress->onBytesHashed(total)) {
            log.LogError("Hashing aborted.");
            return false;
        }
    }
    if (numBytesHashed)
        *numBytesHashed = total;
    return hasher.final(out);
}

int Digest::oidToHashAlg(const char* oid) {
    const HashAlgorithm* alg = oid ? findHashAlgorithmByOid(oid) : nullptr;
    return alg ? alg->id : 0;
}

size_t Digest::hashLen(int hashAlg) {
    const HashAlgorithm* alg = findHashAlgorithm(hashAlg);
    return alg ? alg->digestLen : 0;
}

const char* Digest::hashName(int hashAlg) {
    const HashAlgorithm* alg = findHashAlgorithm(hashAlg);
    return alg ? alg->name : kUnknownName;
}
