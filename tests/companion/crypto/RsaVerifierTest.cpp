#include "support/Keys.h"

#include "companion/crypto/ClsPublicKey.h"
#include "companion/crypto/Digest.h"
#include "companion/crypto/HashIds.h"
#include "companion/crypto/RsaVerifier.h"
#include "companion/log/LogBase.h"
#include "companion/text/XString.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

using test_support::bufferOf;
using test_support::Workshop;

namespace {

const std::string kData = "<SignedInfo>the signed bytes</SignedInfo>";

// DigestInfo prefixes of MD2 and RIPEMD-128 (OID 1.3.36.3.2.2),
// built by hand so that they check the verifier's own encoding.
const char* kMd2DigestInfoPrefix = "3020300c06082a864886f70d020205000410";
const char* kRipemd128DigestInfoPrefix = "301d300906052b2403020205000410";

struct Outcome {
    bool ran = false;
    bool valid = false;
    bool keyMismatch = false;
    bool loggedError = false;
};

class RsaVerifierTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        ws = std::make_unique<Workshop>();
        ws->write("data.txt", kData);
        ASSERT_TRUE(ws->makeKey("rsa1", "rsa"));
    }

    static RefPtr<ClsPublicKey> loadKey(const char* name) {
        RefPtr<ClsPublicKey> key(ClsPublicKey::createNewCls());
        LogBase log;
        XString path(ws->path(std::string(name) + ".pub.pem").string());
        EXPECT_TRUE(key->loadFromFile(path, log)) << log.renderText();
        return key;
    }

    // Signs the data with rsa1 through "openssl dgst" and the given options.
    static DataBuffer dgstSign(const std::string& digest, const std::string& sigopts) {
        static int counter = 0;
        const std::string out = "sig" + std::to_string(++counter);
        EXPECT_TRUE(ws->run("dgst -" + digest + " -sign rsa1.key " + sigopts + " -out " + out + " data.txt"));
        return ws->read(out);
    }

    // Signs the bytes as they are (PKCS#1 v1.5 type 1 padding, no DigestInfo
    // added).
    static DataBuffer rawSign(const DataBuffer& block) {
        ws->write("block.bin", block.view());
        EXPECT_TRUE(ws->run("pkeyutl -sign -inkey rsa1.key -in block.bin -out block.sig"));
        return ws->read("block.sig");
    }

    static DataBuffer hashOf(int alg) {
        DataBuffer h;
        EXPECT_TRUE(Digest::doHash(kData.data(), kData.size(), alg, h));
        return h;
    }

    static Outcome verify(const DataBuffer& sig, const DataBuffer& hash, int alg, int padding, int mgf1Alg,
                          const char* keyName = "rsa1", bool littleEndian = false, bool withDigestInfo = true) {
        const RefPtr<ClsPublicKey> key = loadKey(keyName);
        const RsaKey* rsa = key->getRsaKey();
        EXPECT_NE(rsa, nullptr);
        Outcome o;
        LogBase log;
        if (rsa)
            o.ran = RsaVerifier::verifyHashExt(sig, hash, alg, padding, mgf1Alg, o.valid, *rsa, littleEndian,
                                               withDigestInfo, o.keyMismatch, log);
        o.loggedError = log.hasErrors();
        return o;
    }

    static inline std::unique_ptr<Workshop> ws;
};

constexpr int kPkcs1 = rsa_padding::kPkcs1v15;
constexpr int kPss = rsa_padding::kPss;

} // namespace

TEST_F(RsaVerifierTest, Pkcs1WithHashesOpensslLacks) {
    const std::pair<int, const char*> hashes[] = {{hash_alg::kMd2, kMd2DigestInfoPrefix},
                                                  {hash_alg::kRipemd128, kRipemd128DigestInfoPrefix}};
    for (const auto& [alg, prefix] : hashes) {
        DataBuffer digestInfo = test_support::fromHex(prefix);
        digestInfo.append(hashOf(alg));
        const Outcome o = verify(rawSign(digestInfo), hashOf(alg), alg, kPkcs1, alg);
        EXPECT_TRUE(o.ran && o.valid) << Digest::hashName(alg);
    }
}

TEST_F(RsaVerifierTest, PaddingSelectorAndByteLayout) {
    const DataBuffer hash = hashOf(hash_alg::kSha256);
    const DataBuffer pss = dgstSign("sha256", "-sigopt rsa_padding_mode:pss");
    const Outcome pssAsPkcs1 = verify(pss, hash, hash_alg::kSha256, kPkcs1, hash_alg::kSha256);
    EXPECT_FALSE(pssAsPkcs1.valid);
    EXPECT_TRUE(pssAsPkcs1.keyMismatch);
    EXPECT_FALSE(verify(dgstSign("sha256", ""), hash, hash_alg::kSha256, kPss, hash_alg::kSha256).valid);

    const Outcome unknownPadding = verify(pss, hash, hash_alg::kSha256, 2, hash_alg::kSha256);
    EXPECT_FALSE(unknownPadding.ran || unknownPadding.keyMismatch);
    EXPECT_TRUE(unknownPadding.loggedError);

    const DataBuffer sig = dgstSign("sha256", "");

    DataBuffer extraZero = bufferOf(std::string(1, '\0'));
    extraZero.append(sig);
    EXPECT_TRUE(verify(extraZero, hash, hash_alg::kSha256, kPkcs1, hash_alg::kSha256).valid);

    DataBuffer tooLong = bufferOf("\x01");
    tooLong.append(sig);
    const Outcome longOutcome = verify(tooLong, hash, hash_alg::kSha256, kPkcs1, hash_alg::kSha256);
    EXPECT_FALSE(longOutcome.ran);
    EXPECT_TRUE(longOutcome.keyMismatch);

    std::string reversed(sig.view());
    std::reverse(reversed.begin(), reversed.end());
    EXPECT_TRUE(verify(bufferOf(reversed), hash, hash_alg::kSha256, kPkcs1, hash_alg::kSha256, "rsa1", true).valid);
    EXPECT_FALSE(verify(bufferOf(reversed), hash, hash_alg::kSha256, kPkcs1, hash_alg::kSha256).valid);
}

// The usual DigestInfo of every SHA hash verifies, and so does SHA-256's
// with its parameters left out.
TEST_F(RsaVerifierTest, UsualAndParameterlessDigestInfos) {
    const std::pair<int, const char*> hashes[] = {{hash_alg::kSha1, "sha1"},
                                                  {hash_alg::kSha224, "sha224"},
                                                  {hash_alg::kSha256, "sha256"},
                                                  {hash_alg::kSha384, "sha384"},
                                                  {hash_alg::kSha512, "sha512"}};
    for (const auto& [alg, name] : hashes)
        EXPECT_TRUE(verify(dgstSign(name, ""), hashOf(alg), alg, kPkcs1, alg).valid) << name;

    const DataBuffer hash = hashOf(hash_alg::kSha256);
    DataBuffer parameterless = test_support::fromHex("302f300b06096086480165030402010420");
    parameterless.append(hash);
    EXPECT_TRUE(verify(rawSign(parameterless), hash, hash_alg::kSha256, kPkcs1, hash_alg::kSha256).valid);
}

TEST_F(RsaVerifierTest, WhatTheSignedBlockMustHold) {
    const DataBuffer hash = hashOf(hash_alg::kSha256);
    const DataBuffer bare = rawSign(hash);
    EXPECT_TRUE(verify(bare, hash, hash_alg::kSha256, kPkcs1, hash_alg::kSha256, "rsa1", false, false).valid);
    const Outcome asDigestInfo = verify(bare, hash, hash_alg::kSha256, kPkcs1, hash_alg::kSha256);
    EXPECT_TRUE(asDigestInfo.ran);
    EXPECT_FALSE(asDigestInfo.valid);

    // SHA-1 and RIPEMD-160 digests have the same length; only the OID in the
    // DigestInfo tells them apart.
    const DataBuffer sha1Sig = dgstSign("sha1", "");
    const Outcome o = verify(sha1Sig, hashOf(hash_alg::kSha1), hash_alg::kRipemd160, kPkcs1, hash_alg::kRipemd160);
    EXPECT_TRUE(o.ran);
    EXPECT_FALSE(o.valid);
    EXPECT_FALSE(o.keyMismatch);

    // Unusable inputs fail without a key mismatch.
    const DataBuffer sig = dgstSign("sha256", "");
    const Outcome shortHash = verify(sig, bufferOf("short"), hash_alg::kSha256, kPkcs1, hash_alg::kSha256);
    const Outcome noHashAlg = verify(sig, DataBuffer(), 0, kPkcs1, 0);
    const Outcome pssRipemd128 =
        verify(sig, hashOf(hash_alg::kRipemd128), hash_alg::kRipemd128, kPss, hash_alg::kRipemd128);
    for (const Outcome& o : {shortHash, noHashAlg, pssRipemd128}) {
        EXPECT_FALSE(o.ran || o.valid || o.keyMismatch);
        EXPECT_TRUE(o.loggedError);
    }
}
