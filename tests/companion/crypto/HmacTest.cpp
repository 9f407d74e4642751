#include "CryptoTestSupport.h"

#include "companion/crypto/HashIds.h"
#include "companion/crypto/Hmac.h"
#include "companion/log/LogBase.h"

#include <gtest/gtest.h>

#include <string>

using crypto_test::hexOf;

namespace {

struct HmacVector {
    int alg;
    std::string key;
    std::string data;
    const char* mac;
};

std::string repeated(char c, size_t n) {
    return std::string(n, c);
}

std::string countingKey(size_t n) {
    std::string key;
    for (size_t i = 1; i <= n; ++i)
        key += static_cast<char>(i);
    return key;
}

const std::string kJefeData = "what do ya want for nothing?";

} // namespace

TEST(HmacTest, PublishedVectors) {
    const HmacVector vectors[] = {
        // RFC 4231, cases 1, 2, 3, 4, 6 and 7 for SHA-256; case 2 for SHA-384 and SHA-512.
        {hash_alg::kSha256, repeated('\x0b', 20), "Hi There",
         "b0344c61d8db38535ca8afceaf0bf12b881dc200c9833da726e9376c2e32cff7"},
        {hash_alg::kSha256, "Jefe", kJefeData, "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843"},
        {hash_alg::kSha256, repeated('\xaa', 20), repeated('\xdd', 50),
         "773ea91e36800e46854db8ebd09181a72959098b3ef8c122d9635514ced565fe"},
        {hash_alg::kSha256, countingKey(25), repeated('\xcd', 50),
         "82558a389a443c0ea4cc819899f2083a85f0faa3e578f8077a2e3ff46729665b"},
        {hash_alg::kSha256, repeated('\xaa', 131), "Test Using Larger Than Block-Size Key - Hash Key First",
         "60e431591ee0b67f0d8a26aacbf5b77f8e0bc6213728c5140546040f0ee37f54"},
        {hash_alg::kSha256, repeated('\xaa', 131),
         "This is a test using a larger than block-size key and a larger than block-size data. The key needs to be "
         "hashed before being used by the HMAC algorithm.",
         "9b09ffa71b942fcb27635fbcd5b0e944bfdc63644f0713938a7f51535c3a35e2"},
        {hash_alg::kSha384, "Jefe", kJefeData,
         "af45d2e376484031617f78d2b58a6b1b9c7ef464f5a01b47e42ec3736322445e8e2240ca5e69e2c78b3239ecfab21649"},
        {hash_alg::kSha512, "Jefe", kJefeData,
         "164b7a7bfcf819e2e395fbe73b56e0a387bd64222e831fd610270cd7ea2505549758bf75c05a994a6d034f65f8f0e6fdcaeab1a34d4a6"
         "b"
         "4b636e070a38bce737"},
        // RFC 2202, cases 1, 2, 3, 6 and 7 for SHA-1; case 2 for MD5.
        {hash_alg::kSha1, repeated('\x0b', 20), "Hi There", "b617318655057264e28bc0b6fb378c8ef146be00"},
        {hash_alg::kSha1, "Jefe", kJefeData, "effcdf6ae5eb2fa2d27416d5f184df9c259a7c79"},
        {hash_alg::kSha1, repeated('\xaa', 20), repeated('\xdd', 50), "125d7342b9ac11cd91a39af48aa17b4f63f175d3"},
        {hash_alg::kSha1, repeated('\xaa', 80), "Test Using Larger Than Block-Size Key - Hash Key First",
         "aa4ae5e15272d00e95705637ce8a3b55ed402112"},
        {hash_alg::kSha1, repeated('\xaa', 80),
         "Test Using Larger Than Block-Size Key and Larger Than One Block-Size Data",
         "e8e99d0f45237d786d6bbaa7965c7808bbff1a91"},
        {hash_alg::kMd5, "Jefe", kJefeData, "750c783e6ab0b503eaa86e310a5db738"},
        // RFC 2286, case 2.
        {hash_alg::kRipemd160, "Jefe", kJefeData, "dda6c0213a485a9e24f4742064a7f033b43c4069"},
        // An empty key and empty data are legal.
        {hash_alg::kSha256, "", "", "b613679a0814d9ec772f95d778c35fc5ff1697c493715653c6c712144292c5ad"},
    };
    for (const HmacVector& v : vectors) {
        LogBase log;
        DataBuffer mac;
        ASSERT_TRUE(Hmac::doHMAC(v.data.data(), v.data.size(), v.key.data(), v.key.size(), v.alg, mac, log))
            << log.renderText();
        EXPECT_EQ(hexOf(mac), v.mac) << "hash " << v.alg << ", key of " << v.key.size() << " bytes";
    }
}

TEST(HmacTest, HashesWithoutHmacFailWithAnError) {
    for (int alg : {hash_alg::kMd2, hash_alg::kRipemd128, 0, 6}) {
        LogBase log;
        DataBuffer mac = crypto_test::bufferOf("stale");
        EXPECT_FALSE(Hmac::doHMAC("data", 4, "key", 3, alg, mac, log)) << alg;
        EXPECT_TRUE(mac.isEmpty());
        EXPECT_TRUE(log.hasErrors());
    }
}
