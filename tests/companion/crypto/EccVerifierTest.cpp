// The r||s layouts that signers write and the verifier tolerates. The corpus
// signatures all have the nominal length, so only these cases reach the
// tolerance for one byte more or less per half.
#include "CryptoTestSupport.h"

#include "companion/crypto/ClsPublicKey.h"
#include "companion/crypto/DsaStyleSignature.h"
#include "companion/crypto/EccVerifier.h"
#include "companion/crypto/HashIds.h"
#include "companion/crypto/OpensslPtr.h"
#include "companion/crypto/_tvHash.h"
#include "companion/log/LogBase.h"

#include <gtest/gtest.h>

#include <string>

using test_support::bufferOf;

namespace {

const std::string kData = "<SignedInfo>signed by a curve</SignedInfo>";

// r||s with each half padded to n bytes, from a DER signature.
std::string rawFromDer(const DataBuffer& der, size_t n) {
    const unsigned char* p = der.getData();
    const EcdsaSigPtr sig(d2i_ECDSA_SIG(nullptr, &p, der.getSize()));
    EXPECT_TRUE(sig);
    std::string raw(2 * n, '\0');
    if (sig) {
        BN_bn2binpad(ECDSA_SIG_get0_r(sig.get()), reinterpret_cast<unsigned char*>(raw.data()), static_cast<int>(n));
        BN_bn2binpad(ECDSA_SIG_get0_s(sig.get()), reinterpret_cast<unsigned char*>(raw.data() + n),
                     static_cast<int>(n));
    }
    return raw;
}

TEST(EccVerifier, EncodingsAndLeadingZeroTolerance) {
    crypto_test::OpensslWorkspace ws;
    ws.write("data.txt", kData);
    for (const char* name : {"p256", "p521", "other"})
        ASSERT_TRUE(ws.makeKey(name, std::string("-algorithm EC -pkeyopt ec_paramgen_curve:") +
                                         (name == std::string("p521") ? "P-521" : "P-256")));
    auto verify = [&](const char* keyName, const std::string& sig, int format, const char* digest) {
        RefPtr<ClsPublicKey> key(ClsPublicKey::createNewCls());
        LogBase log;
        XString path(ws.path(std::string(keyName) + ".pub.pem").string());
        EXPECT_TRUE(key->loadFromFile(path, log));
        DataBuffer hash;
        _tvHash::doHash(kData.data(), kData.size(),
                        digest == std::string("sha512") ? hash_alg::kSha512 : hash_alg::kSha256, hash);
        bool valid = false;
        EXPECT_TRUE(EccVerifier::eccVerifyHash(*key->getEccKey(), bufferOf(sig), format, hash, valid, &log)) << keyName;
        return valid;
    };
    auto sign = [&](const char* keyName, const char* digest) {
        EXPECT_TRUE(ws.run(std::string("dgst -") + digest + " -sign " + keyName + ".pem -out sig.der data.txt"));
        return ws.read("sig.der");
    };

    const DataBuffer der = sign("p256", "sha256");
    const std::string raw = rawFromDer(der, 32);
    const std::string r = raw.substr(0, 32), s = raw.substr(32), zero(1, '\0');
    EXPECT_TRUE(verify("p256", raw, sig_format::kRawRs, "sha256"));
    EXPECT_TRUE(verify("p256", std::string(der.view()), sig_format::kAuto, "sha256"));
    EXPECT_FALSE(verify("p256", std::string(der.view()), sig_format::kRawRs, "sha256")) << "DER read as r||s";
    EXPECT_FALSE(verify("p256", raw, sig_format::kDer, "sha256")) << "r||s read as DER";
    EXPECT_FALSE(verify("other", raw, sig_format::kRawRs, "sha256")) << "another key";
    EXPECT_TRUE(verify("p256", zero + r + s, sig_format::kRawRs, "sha256"));
    EXPECT_TRUE(verify("p256", r + zero + s, sig_format::kRawRs, "sha256"));
    EXPECT_TRUE(verify("p256", zero + r + zero + s, sig_format::kAuto, "sha256"));
    EXPECT_FALSE(verify("p256", "\x01" + r + s, sig_format::kRawRs, "sha256")) << "a non-zero extra byte";
    EXPECT_FALSE(verify("p256", zero + zero + r + s, sig_format::kRawRs, "sha256")) << "two extra zeros";
    EXPECT_FALSE(verify("p256", raw.substr(0, 60), sig_format::kRawRs, "sha256"));

    // A P-521 r or s is below 2^521, so its 66-byte form starts with a zero
    // byte about half the time; some signers then write 65 bytes.
    bool rShortened = false, sShortened = false;
    for (int attempt = 0; attempt < 40 && !(rShortened && sShortened); ++attempt) {
        const std::string big = rawFromDer(sign("p521", "sha512"), 66);
        const std::string r521 = big.substr(0, 66), s521 = big.substr(66);
        if (!rShortened && r521.front() == '\0') {
            EXPECT_TRUE(verify("p521", r521.substr(1) + s521, sig_format::kRawRs, "sha512"));
            rShortened = true;
        }
        if (!sShortened && s521.front() == '\0') {
            EXPECT_TRUE(verify("p521", r521 + s521.substr(1), sig_format::kAuto, "sha512"));
            sShortened = true;
        }
    }
    EXPECT_TRUE(rShortened && sShortened) << "no signature with a leading zero byte in 40 attempts";
}

} // namespace
