#pragma once

#include <cstddef>
#include <string_view>

// What the library knows of one hash algorithm: its identifier (HashIds.h),
// its name, its dotted OID, the name OpenSSL fetches it by (empty when
// OpenSSL does not offer it) and its digest length.
struct HashAlgorithm {
    int id;
    const char* name;
    const char* oid;
    const char* evpName;
    size_t digestLen;
};

// The algorithm with this identifier, or null.
const HashAlgorithm* findHashAlgorithm(int hashAlg);
// The algorithm with this dotted OID, or null.
const HashAlgorithm* findHashAlgorithmByOid(std::string_view oid);
