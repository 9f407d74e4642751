#include "support/Keys.h"

#include "companion/crypto/Digest.h"
#include "companion/crypto/DigestFetch.h"
#include "companion/crypto/HashIds.h"
#include "companion/crypto/HashProgress.h"
#include "companion/crypto/Hasher.h"
#include "companion/fs/FileDataSource.h"
#include "companion/log/LogBase.h"
#include "companion/text/XString.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using test_support::hexOf;

namespace {

struct Vector {
    int alg;
    std::string message;
    const char* digest;
};

const std::string kMillionA(1000000, 'a');
const std::string kAlphanumeric = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
const std::string kEightyDigits = [] {
    std::string s;
    for (int i = 0; i < 8; ++i)
        s += "1234567890";
    return s;
}();

// One published value per identifier for the digests OpenSSL computes (they
// check the identifier's mapping); the full lists for the two we implement.
const std::vector<Vector> kVectors = {
    {hash_alg::kSha1, "abc", "a9993e364706816aba3e25717850c26c9cd0d89d"},
    {hash_alg::kSha256, "abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
    {hash_alg::kSha384, "abc",
     "cb00753f45a35e8bb5a03d699ac65007272c32ab0eded1631a8b605a43ff5bed8086072ba1e7cc2358baeca134c825a7"},
    {hash_alg::kSha512, "abc",
     "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2"
     "a9ac94fa54ca49f"},
    {hash_alg::kMd5, "abc", "900150983cd24fb0d6963f7d28e17f72"},
    {hash_alg::kRipemd160, "abc", "8eb208f7e05d987a9b044a8e98c6b087f15a0bfc"},
    {hash_alg::kSha224, "abc", "23097d223405d8228642a477bda255b32aadbce4bda0b3f7e36c9da7"},
    {hash_alg::kSha3_224, "abc", "e642824c3f8cf24ad09234ee7d3c766fc9a3a5168d0c94ad73b46fdf"},
    {hash_alg::kSha3_256, "abc", "3a985da74fe225b2045c172d6bd390bd855f086e3e9d525b46bfe24511431532"},
    {hash_alg::kSha3_384, "abc",
     "ec01498288516fc926459f58e2c6ad8df9b473cb0fc08c2596da7cf0e49be4b298d88cea927ac7f539f1edf228376d25"},
    {hash_alg::kSha3_512, "abc",
     "b751850b1a57168a5693cd924b6b096e08f621827444f70d884f5d0240d2712e10e116e9192af3c91a7ec57647e3934057340b4cf408d5a5"
     "6592f8274eec53f0"},
    // Published values, and the million-a value.
    {hash_alg::kMd2, "", "8350e5a3e24c153df2275c9f80692773"},
    {hash_alg::kMd2, "abc", "da853b0d3f88d99b30283a69e6ded6bb"},
    {hash_alg::kMd2, kAlphanumeric, "da33def2a42df13975352846c30338cd"},
    {hash_alg::kMd2, kEightyDigits, "d5976f79d83d3a0dc9806c3c66f3efd8"},
    {hash_alg::kMd2, kMillionA, "8c0a09ff1216ecaf95c8130953c62efd"},
    // The RIPEMD authors' published values; 56 bytes make the padding
    // spill into a second block.
    {hash_alg::kRipemd128, "", "cdf26213a150dc3ecb610f18f6b38b46"},
    {hash_alg::kRipemd128, "abc", "c14a12199c66e4ba84636b0f69144c77"},
    {hash_alg::kRipemd128, "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
     "a1aa0689d0fafa2ddc22e88b49133a06"},
    {hash_alg::kRipemd128, kAlphanumeric, "d1e959eb179c911faea4624c60c5c702"},
    {hash_alg::kRipemd128, kEightyDigits, "3f45ef194732c2dbb2c4a2c769795fa3"},
    {hash_alg::kRipemd128, kMillionA, "4a7f5723f954eba1216c9d8f6320431f"},
};

const int kAllAlgs[] = {hash_alg::kSha1,    hash_alg::kSha384,   hash_alg::kSha512,    hash_alg::kMd2,
                        hash_alg::kMd5,     hash_alg::kSha256,   hash_alg::kRipemd128, hash_alg::kRipemd160,
                        hash_alg::kSha224,  hash_alg::kSha3_224, hash_alg::kSha3_256,  hash_alg::kSha3_384,
                        hash_alg::kSha3_512};

std::string messageLabel(const std::string& m) {
    return m.size() > 80 ? std::to_string(m.size()) + " bytes" : '"' + m + '"';
}

// Bytes that are not all alike, so that misplaced blocks change the digest.
std::string patternedBytes(size_t n) {
    std::string s(n, '\0');
    for (size_t i = 0; i < n; ++i)
        s[i] = static_cast<char>((i * 131 + i / 251) & 0xff);
    return s;
}

} // namespace

TEST(HashTest, KnownVectorsForEveryIdentifier) {
    for (const Vector& v : kVectors) {
        DataBuffer out;
        ASSERT_TRUE(Digest::doHash(v.message.data(), v.message.size(), v.alg, out)) << Digest::hashName(v.alg);
        EXPECT_EQ(hexOf(out), v.digest) << Digest::hashName(v.alg) << " of " << messageLabel(v.message);
        EXPECT_EQ(out.getSize(), Digest::hashLen(v.alg));
    }
}

// Pieces of every size around the 16-, 64- and 128-byte block lengths
// cross block boundaries at every offset.
TEST(HashTest, StreamingInUnevenPiecesEqualsOneShot) {
    const std::string data = patternedBytes(5000);
    const size_t pieceLens[] = {1, 15, 16, 17, 63, 64, 65, 127, 128, 129, 1000};
    for (int alg : kAllAlgs) {
        DataBuffer oneShot;
        ASSERT_TRUE(Digest::doHash(data.data(), data.size(), alg, oneShot));
        for (size_t pieceLen : pieceLens) {
            Hasher hasher;
            ASSERT_TRUE(hasher.init(alg));
            for (size_t pos = 0; pos < data.size(); pos += pieceLen)
                ASSERT_TRUE(hasher.update(data.data() + pos, std::min(pieceLen, data.size() - pos)));
            DataBuffer streamed;
            ASSERT_TRUE(hasher.final(streamed));
            EXPECT_EQ(hexOf(streamed), hexOf(oneShot)) << Digest::hashName(alg) << " in pieces of " << pieceLen;
        }
    }
}

TEST(HashTest, UnknownIdentifiersFailAndLeaveNoDigest) {
    for (int alg : {0, -1, 6, 8, 16}) {
        DataBuffer out = test_support::bufferOf("stale");
        EXPECT_FALSE(Digest::doHash("abc", 3, alg, out)) << alg;
        EXPECT_TRUE(out.isEmpty());
        EXPECT_EQ(Digest::hashLen(alg), 0u);
        EXPECT_STREQ(Digest::hashName(alg), "unknown");
    }
}

namespace {

class CountingProgress : public HashProgress {
public:
    explicit CountingProgress(uint64_t stopAfter) : m_stopAfter(stopAfter) {}
    bool onBytesHashed(uint64_t total) override {
        m_last = total;
        ++m_calls;
        return total < m_stopAfter;
    }
    uint64_t m_last = 0;
    int m_calls = 0;

private:
    uint64_t m_stopAfter;
};

} // namespace

TEST(HashTest, DataSourceFailuresAreReported) {
    test_support::TempDir dir;
    LogBase log;
    FileDataSource missing;
    EXPECT_FALSE(missing.openDataSourceFile(XString((dir.path() / "absent").string()), log));

    // Only a regular file is a source; a directory is refused when opened.
    FileDataSource directory;
    EXPECT_FALSE(directory.openDataSourceFile(XString(dir.path().string()), log));
    DataBuffer out;
    EXPECT_FALSE(Digest::hashDataSource(directory, hash_alg::kSha1, nullptr, out, nullptr, log));
    EXPECT_TRUE(out.isEmpty());

    test_support::writeFile(dir.path() / "big.bin", patternedBytes(300000));
    FileDataSource big;
    ASSERT_TRUE(big.openDataSourceFile(XString((dir.path() / "big.bin").string()), log));
    CountingProgress stopEarly(1);
    EXPECT_FALSE(Digest::hashDataSource(big, hash_alg::kSha1, &stopEarly, out, nullptr, log));
    EXPECT_EQ(stopEarly.m_calls, 1);
    EXPECT_TRUE(out.isEmpty());
}
