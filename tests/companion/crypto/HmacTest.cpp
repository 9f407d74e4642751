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

const std::string kJefeData = "what do ya want for nothing?";

} // namespace

TEST(HmacTest, PublishedVectors) {
    const HmacVector vectors[] = {
        // OpenSSL computes the MAC: one case per hash checks the identifier's
        // mapping, with keys longer than a block and empty. RFC 4231.
        {hash_alg::kSha256, "Jefe", kJefeData, "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843"},
        {hash_alg::kSha256, repeated('\xaa', 131), "Test Using Larger Than Block-Size Key - Hash Key First",
         "60e431591ee0b67f0d8a26aacbf5b77f8e0bc6213728c5140546040f0ee37f54"},
        {hash_alg::kSha384, "Jefe", kJefeData,
         "af45d2e376484031617f78d2b58a6b1b9c7ef464f5a01b47e42ec3736322445e8e2240ca5e69e2c78b3239ecfab21649"},
        {hash_alg::kSha512, "Jefe", kJefeData,
         "164b7a7bfcf819e2e395fbe73b56e0a387bd64222e831fd610270cd7ea2505549758bf75c05a994a6d034f65f8f0e6fdcaeab1a34d4a6"
         "b"
         "4b636e070a38bce737"},
        // RFC 2202.
        {hash_alg::kSha1, "Jefe", kJefeData, "effcdf6ae5eb2fa2d27416d5f184df9c259a7c79"},
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
