#include "CryptoTestSupport.h"

#include "companion/crypto/ClsPublicKey.h"
#include "companion/crypto/DsaStyleSignature.h"
#include "companion/crypto/DsaVerifier.h"
#include "companion/crypto/EccVerifier.h"
#include "companion/crypto/HashIds.h"
#include "companion/crypto/OpensslPtr.h"
#include "companion/crypto/_tvHash.h"
#include "companion/log/LogBase.h"
#include "companion/text/XString.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

using crypto_test::bufferOf;
using crypto_test::flipBit;
using crypto_test::OpensslWorkspace;

namespace {

const std::string kData = "<SignedInfo>signed by a curve</SignedInfo>";

struct KeySpec {
    std::string name;
    std::string genArgs;
    const char* digest;
    int hashAlg;
};

const KeySpec kEcKeys[] = {
    {"p256", "-algorithm EC -pkeyopt ec_paramgen_curve:P-256", "sha256", hash_alg::kSha256},
    {"p384", "-algorithm EC -pkeyopt ec_paramgen_curve:P-384", "sha384", hash_alg::kSha384},
    {"p521", "-algorithm EC -pkeyopt ec_paramgen_curve:P-521", "sha512", hash_alg::kSha512},
    {"k256", "-algorithm EC -pkeyopt ec_paramgen_curve:secp256k1", "sha256", hash_alg::kSha256},
    {"bp256", "-algorithm EC -pkeyopt ec_paramgen_curve:brainpoolP256r1", "sha256", hash_alg::kSha256},
    {"bp384", "-algorithm EC -pkeyopt ec_paramgen_curve:brainpoolP384r1", "sha384", hash_alg::kSha384},
    {"bp512", "-algorithm EC -pkeyopt ec_paramgen_curve:brainpoolP512r1", "sha512", hash_alg::kSha512},
};

const KeySpec kDsaKeys[] = {
    {"dsa1024", "-paramfile dsa1024.params", "sha1", hash_alg::kSha1},
    {"dsa2048", "-paramfile dsa2048.params", "sha256", hash_alg::kSha256},
};

// r||s with each half padded to n bytes, from a DER signature.
DataBuffer rawFromDer(const DataBuffer& der, size_t n) {
    const unsigned char* p = der.getData();
    const EcdsaSigPtr sig(d2i_ECDSA_SIG(nullptr, &p, der.getSize()));
    EXPECT_TRUE(sig);
    if (!sig)
        return {};
    std::string raw(2 * n, '\0');
    auto* out = reinterpret_cast<unsigned char*>(raw.data());
    BN_bn2binpad(ECDSA_SIG_get0_r(sig.get()), out, static_cast<int>(n));
    BN_bn2binpad(ECDSA_SIG_get0_s(sig.get()), out + n, static_cast<int>(n));
    return bufferOf(raw);
}

DataBuffer joined(std::string_view r, std::string_view s) {
    DataBuffer out = bufferOf(r);
    out.append(s);
    return out;
}

class DsaEccVerifierTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        ws = std::make_unique<OpensslWorkspace>();
        ws->write("data.txt", kData);
        ASSERT_TRUE(ws->run("genpkey -genparam -algorithm DSA -pkeyopt dsa_paramgen_bits:1024 "
                            "-pkeyopt dsa_paramgen_q_bits:160 -out dsa1024.params"));
        ASSERT_TRUE(ws->run("genpkey -genparam -algorithm DSA -pkeyopt dsa_paramgen_bits:2048 "
                            "-pkeyopt dsa_paramgen_q_bits:256 -out dsa2048.params"));
        for (const auto& spec : kEcKeys)
            makeKeyPair(spec);
        for (const auto& spec : kDsaKeys)
            makeKeyPair(spec);
    }
    static void TearDownTestSuite() { ws.reset(); }

    // The key and a second key of the same kind (same curve or parameters).
    static void makeKeyPair(const KeySpec& spec) {
        for (const std::string& name : {spec.name, spec.name + "-other"})
            ASSERT_TRUE(ws->makeKey(name, spec.genArgs));
    }

    static RefPtr<ClsPublicKey> loadKey(const std::string& name) {
        RefPtr<ClsPublicKey> key(ClsPublicKey::createNewCls());
        LogBase log;
        XString path(ws->path(name + ".pub.pem").string());
        EXPECT_TRUE(key->loadFromFile(path, log)) << log.renderText();
        return key;
    }

    static DataBuffer derSign(const KeySpec& spec) {
        EXPECT_TRUE(
            ws->run(std::string("dgst -") + spec.digest + " -sign " + spec.name + ".pem -out sig.der data.txt"));
        return ws->read("sig.der");
    }

    static DataBuffer hashOf(const KeySpec& spec) {
        DataBuffer h;
        EXPECT_TRUE(_tvHash::doHash(kData.data(), kData.size(), spec.hashAlg, h));
        return h;
    }

    // The verifier of the key's kind: ECDSA for EC keys, DSA for DSA keys.
    static bool verify(const std::string& keyName, const DataBuffer& sig, int format, const DataBuffer& hash) {
        const RefPtr<ClsPublicKey> key = loadKey(keyName);
        bool valid = false;
        LogBase log;
        bool ran = false;
        if (const EccKey* ecc = key->getEccKey())
            ran = EccVerifier::eccVerifyHash(*ecc, sig, format, hash, valid, &log);
        else if (const DsaKey* dsa = key->getDsaKey())
            ran = DsaVerifier::dsaVerifyHash(*dsa, sig, format, hash, valid, nullptr);
        EXPECT_TRUE(ran) << keyName << "\n" << log.renderText();
        return valid;
    }

    static size_t halfLenOf(const std::string& keyName) {
        const RefPtr<ClsPublicKey> key = loadKey(keyName);
        return key->getEccKey() ? key->getEccKey()->orderBytes() : key->getDsaKey()->subgroupBytes();
    }

    static std::unique_ptr<OpensslWorkspace> ws;
};

std::unique_ptr<OpensslWorkspace> DsaEccVerifierTest::ws;

void checkEncodingsAndTampering(const KeySpec& spec, const DataBuffer& der, const DataBuffer& hash, size_t n,
                                bool (*verify)(const std::string&, const DataBuffer&, int, const DataBuffer&)) {
    const DataBuffer raw = rawFromDer(der, n);
    EXPECT_EQ(raw.getSize(), 2 * n);
    EXPECT_TRUE(verify(spec.name, raw, sig_format::kRawRs, hash)) << spec.name;
    EXPECT_TRUE(verify(spec.name, raw, sig_format::kAuto, hash)) << spec.name;
    EXPECT_TRUE(verify(spec.name, der, sig_format::kDer, hash)) << spec.name;
    EXPECT_TRUE(verify(spec.name, der, sig_format::kAuto, hash)) << spec.name;
    EXPECT_FALSE(verify(spec.name, der, sig_format::kRawRs, hash)) << spec.name << ": DER read as r||s";
    EXPECT_FALSE(verify(spec.name, raw, sig_format::kDer, hash)) << spec.name << ": r||s read as DER";

    EXPECT_FALSE(verify(spec.name, raw, sig_format::kRawRs, flipBit(hash, 3))) << spec.name << ": altered hash";
    EXPECT_FALSE(verify(spec.name, flipBit(raw, n + 5), sig_format::kRawRs, hash)) << spec.name << ": altered s";
    EXPECT_FALSE(verify(spec.name, flipBit(der, der.getSize() - 1), sig_format::kAuto, hash)) << spec.name;
    EXPECT_FALSE(verify(spec.name + "-other", raw, sig_format::kRawRs, hash)) << spec.name << ": wrong key";
}

} // namespace

TEST_F(DsaEccVerifierTest, EcdsaOnEveryCurveInBothEncodings) {
    for (const KeySpec& spec : kEcKeys)
        checkEncodingsAndTampering(spec, derSign(spec), hashOf(spec), halfLenOf(spec.name), verify);
}

TEST_F(DsaEccVerifierTest, DsaInBothEncodings) {
    EXPECT_EQ(halfLenOf("dsa1024"), 20u);
    EXPECT_EQ(halfLenOf("dsa2048"), 32u);
    for (const KeySpec& spec : kDsaKeys)
        checkEncodingsAndTampering(spec, derSign(spec), hashOf(spec), halfLenOf(spec.name), verify);
}

TEST_F(DsaEccVerifierTest, OneExtraLeadingZeroPerHalfIsTolerated) {
    for (const KeySpec& spec : {kEcKeys[0], kDsaKeys[1]}) {
        const size_t n = halfLenOf(spec.name);
        const DataBuffer raw = rawFromDer(derSign(spec), n);
        const std::string r(raw.view().substr(0, n));
        const std::string s(raw.view().substr(n));
        const std::string zero(1, '\0');
        const DataBuffer hash = hashOf(spec);
        EXPECT_TRUE(verify(spec.name, joined(zero + r, s), sig_format::kRawRs, hash)) << spec.name;
        EXPECT_TRUE(verify(spec.name, joined(r, zero + s), sig_format::kRawRs, hash)) << spec.name;
        EXPECT_TRUE(verify(spec.name, joined(zero + r, zero + s), sig_format::kAuto, hash)) << spec.name;
        EXPECT_FALSE(verify(spec.name, joined("\x01" + r, s), sig_format::kRawRs, hash)) << "a non-zero extra byte";
        EXPECT_FALSE(verify(spec.name, joined(zero + zero + r, s), sig_format::kRawRs, hash)) << "two extra zeros";
    }
}

// A P-521 r or s is below 2^521, so its 66-byte form starts with a zero
// byte about half the time; some signers then write 65 bytes.
TEST_F(DsaEccVerifierTest, OneMissingLeadingZeroIsTolerated) {
    const KeySpec& p521 = kEcKeys[2];
    const size_t n = halfLenOf(p521.name);
    ASSERT_EQ(n, 66u);
    const DataBuffer hash = hashOf(p521);
    bool rShortened = false;
    bool sShortened = false;
    for (int attempt = 0; attempt < 40 && !(rShortened && sShortened); ++attempt) {
        const DataBuffer raw = rawFromDer(derSign(p521), n);
        const std::string_view r = raw.view().substr(0, n);
        const std::string_view s = raw.view().substr(n);
        if (!rShortened && r.front() == '\0') {
            EXPECT_TRUE(verify(p521.name, joined(r.substr(1), s), sig_format::kRawRs, hash));
            rShortened = true;
        }
        if (!sShortened && s.front() == '\0') {
            EXPECT_TRUE(verify(p521.name, joined(r, s.substr(1)), sig_format::kAuto, hash));
            sShortened = true;
        }
    }
    EXPECT_TRUE(rShortened && sShortened) << "no signature with a leading zero byte in 40 attempts";
}

TEST_F(DsaEccVerifierTest, SignaturesFarFromTheKeySizeAreInvalid) {
    const KeySpec& p256 = kEcKeys[0];
    const DataBuffer hash = hashOf(p256);
    const DataBuffer raw = rawFromDer(derSign(p256), 32);
    EXPECT_FALSE(verify(p256.name, bufferOf(raw.view().substr(0, 60)), sig_format::kRawRs, hash));
    EXPECT_FALSE(verify(p256.name, DataBuffer(), sig_format::kAuto, hash));
    const DataBuffer p384Raw = rawFromDer(derSign(kEcKeys[1]), 48);
    EXPECT_FALSE(verify(p256.name, p384Raw, sig_format::kRawRs, hash)) << "a P-384 signature on a P-256 key";
}
