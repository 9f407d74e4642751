#include "companion/crypto/HashAlgorithm.h"

#include "companion/crypto/HashIds.h"

#include <array>

namespace {

// MD2 and RIPEMD-128 have no OpenSSL 3 implementation; ours serve them.
constexpr std::array kHashAlgorithms{
    HashAlgorithm{hash_alg::kSha1, "sha1", "1.3.14.3.2.26", "SHA1", 20},
    HashAlgorithm{hash_alg::kSha384, "sha384", "2.16.840.1.101.3.4.2.2", "SHA384", 48},
    HashAlgorithm{hash_alg::kSha512, "sha512", "2.16.840.1.101.3.4.2.3", "SHA512", 64},
    HashAlgorithm{hash_alg::kMd2, "md2", "1.2.840.113549.2.2", "", 16},
    HashAlgorithm{hash_alg::kMd5, "md5", "1.2.840.113549.2.5", "MD5", 16},
    HashAlgorithm{hash_alg::kSha256, "sha256", "2.16.840.1.101.3.4.2.1", "SHA256", 32},
    HashAlgorithm{hash_alg::kRipemd128, "ripemd128", "1.3.36.3.2.2", "", 16},
    HashAlgorithm{hash_alg::kRipemd160, "ripemd160", "1.3.36.3.2.1", "RIPEMD160", 20},
    HashAlgorithm{hash_alg::kSha224, "sha224", "2.16.840.1.101.3.4.2.4", "SHA224", 28},
    HashAlgorithm{hash_alg::kSha3_224, "sha3-224", "2.16.840.1.101.3.4.2.7", "SHA3-224", 28},
    HashAlgorithm{hash_alg::kSha3_256, "sha3-256", "2.16.840.1.101.3.4.2.8", "SHA3-256", 32},
    HashAlgorithm{hash_alg::kSha3_384, "sha3-384", "2.16.840.1.101.3.4.2.9", "SHA3-384", 48},
    HashAlgorithm{hash_alg::kSha3_512, "sha3-512", "2.16.840.1.101.3.4.2.10", "SHA3-512", 64},
};

} // namespace

const HashAlgorithm* findHashAlgorithm(int hashAlg) {
    for (const HashAlgorithm& alg : kHashAlgorithms)
        if (alg.id == hashAlg)
            return &alg;
    return nullptr;
}

const HashAlgorithm* findHashAlgorithmByOid(std::string_view oid) {
    for (const HashAlgorithm& alg : kHashAlgorithms)
        if (std::string_view(alg.oid) == oid)
            return &alg;
    return nullptr;
}
