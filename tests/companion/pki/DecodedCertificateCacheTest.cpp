#include "support/Keys.h"

#include "companion/log/LogBase.h"
#include "companion/pki/DecodedCertificateCache.h"
#include "companion/pki/X509Certificate.h"
#include "companion/text/StringBuffer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using test_support::Workshop;
using Cert = test_support::Workshop::Request;

namespace {

// The same certificate with its last signature byte changed: still a
// certificate to the decoder, but other bytes.
std::string variant(std::string der, int n) {
    der.back() = static_cast<char>(static_cast<unsigned char>(der.back()) ^ (n & 0xff));
    der[der.size() - 2] = static_cast<char>(static_cast<unsigned char>(der[der.size() - 2]) ^ (n >> 8));
    return der;
}

X509Certificate loaded(const std::string& der) {
    DataBuffer bytes;
    bytes.append(der);
    LogNull log;
    X509Certificate cert;
    EXPECT_TRUE(cert.loadX509Der(bytes, log));
    return cert;
}

class DecodedCertificateCacheTest : public ::testing::Test {
protected:
    void SetUp() override {
        DecodedCertificateCache::process().clear();
        ASSERT_TRUE(m_ws.make("a", Cert("/CN=Cache A")));
        ASSERT_TRUE(m_ws.make("b", Cert("/CN=Cache B")));
        m_a = std::string(m_ws.der("a").view());
        m_b = std::string(m_ws.der("b").view());
    }

    Workshop m_ws;
    std::string m_a, m_b;
};

TEST_F(DecodedCertificateCacheTest, KeepsAtMostItsBoundLeastRecentlyUsedFirst) {
    DecodedCertificateCache& cache = DecodedCertificateCache::process();
    const X509* firstA = loaded(m_a).x509();
    for (size_t i = 1; i <= DecodedCertificateCache::kMaxEntries + 10; ++i) {
        loaded(variant(m_b, static_cast<int>(i)));
        if (i % 16 == 0) {
            EXPECT_EQ(loaded(m_a).x509(), firstA) << "a recently used entry was evicted at " << i;
        }
        EXPECT_LE(cache.size(), DecodedCertificateCache::kMaxEntries);
    }
    EXPECT_EQ(cache.size(), DecodedCertificateCache::kMaxEntries);
    EXPECT_EQ(loaded(m_a).x509(), firstA);

    const std::string large(DecodedCertificateCache::kMaxCertificateBytes, 'x');
    const size_t before = cache.size();
    loaded(m_b + large);
    EXPECT_EQ(cache.size(), before) << "an oversized input was kept";
}

// A thread's front serves what it was given lately, but never across clear().
TEST_F(DecodedCertificateCacheTest, ClearReachesTheThreadsFront) {
    DecodedCertificateCache& cache = DecodedCertificateCache::process();
    const X509Certificate a = loaded(m_a);
    EXPECT_EQ(loaded(m_a).x509(), a.x509());
    ASSERT_TRUE(a.publicKey());
    EXPECT_EQ(loaded(m_a).publicKey().get(), a.publicKey().get());
    cache.clear();
    EXPECT_TRUE(loaded(m_a).publicKey());
    EXPECT_EQ(cache.size(), 1u) << "the front answered after clear()";
}

} // namespace
