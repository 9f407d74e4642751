#pragma once

#include <cstddef>

class DataBuffer;
class LogBase;

// Keyed-hash message authentication (RFC 2104).
class Hmac {
public:
    // Replaces out with the HMAC of the data under the key, with the hash of
    // the identifier (HashIds.h). False (logged, out empty) for a hash that
    // HMAC is not offered with (MD2, RIPEMD-128) or a failure of OpenSSL.
    static bool doHMAC(const void* data, size_t len, const void* key, size_t keyLen, int hashAlg, DataBuffer& out,
                       LogBase& log);
};
