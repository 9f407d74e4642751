#include "companion/pki/TrustAnchors.h"

#include "companion/pki/CertificateSummary.h"

#include "support/Keys.h"
#include "support/TrustFixtures.h"

#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <vector>

using trust_test::Signer;
using trust_test::TrustFixtures;

namespace {

const TrustFixtures& fixtures() {
    return TrustFixtures::shared();
}

X509Ptr loadPem(const std::filesystem::path& path) {
    const BioPtr bio(BIO_new_file(path.c_str(), "r"));
    X509Ptr cert(bio ? PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr) : nullptr);
    EXPECT_TRUE(cert) << path;
    return cert;
}

X509Ptr loadSigner(Signer signer) {
    return loadPem(fixtures().certificate(signer));
}

TrustAnchors anchorsOf(const std::vector<std::filesystem::path>& paths) {
    TrustAnchors anchors;
    std::string error;
    for (const auto& path : paths)
        EXPECT_TRUE(anchors.addAnchors(path.string(), error)) << error;
    return anchors;
}

// Checks at the current time, with the intermediate in the pool or not.
class Chain {
public:
    explicit Chain(const TrustAnchors& anchors)
        : m_anchors(anchors), m_intermediate(loadPem(fixtures().intermediate())) {}

    ChainOutcome withIntermediate(Signer signer, std::time_t at = std::time(nullptr)) const {
        X509* const pool[] = {m_intermediate.get()};
        return m_anchors.check(loadSigner(signer).get(), pool, at);
    }
    ChainOutcome alone(Signer signer) const {
        return m_anchors.check(loadSigner(signer).get(), {}, std::time(nullptr));
    }

private:
    const TrustAnchors& m_anchors;
    X509Ptr m_intermediate;
};

// The chain cases the tool's trust tests cover end to end (missing or
// unrelated issuer, expiry, key usage, revocation) are not repeated here.
TEST(TrustAnchors, AnIntermediateAnchorEndsTheChain) {
    EXPECT_TRUE(TrustAnchors().empty());
    const ChainOutcome partial = Chain(anchorsOf({fixtures().intermediate()})).alone(Signer::Good);
    EXPECT_TRUE(partial.trusted) << partial.reason;
    EXPECT_EQ(partial.anchorSubject, TrustFixtures::kIntermediateSubject);
    const TrustAnchors root = anchorsOf({fixtures().root()});
    EXPECT_EQ(Chain(root).withIntermediate(Signer::Good, TrustFixtures::kWhileExpiredWasValid).reason,
              "certificate is not yet valid");
}

// Without a keyUsage extension any key may sign.
TEST(TrustAnchors, NoKeyUsageExtensionAllowsSigning) {
    test_support::Workshop ws;
    ASSERT_TRUE(ws.make("plain", test_support::Workshop::Request("/CN=Plain")));
    const X509Ptr plain = loadPem(ws.pemPath("plain"));
    ASSERT_EQ(X509_get_key_usage(plain.get()), UINT32_MAX) << "the certificate should have no keyUsage";
    const ChainOutcome outcome = anchorsOf({ws.pemPath("plain")}).check(plain.get(), {}, std::time(nullptr));
    EXPECT_TRUE(outcome.trusted) << outcome.reason;
    EXPECT_EQ(outcome.anchorSubject, "CN=Plain");
}

TEST(TrustAnchors, ReadsDirectoriesAndBundles) {
    test_support::TempDir dir;
    std::filesystem::copy_file(fixtures().root(), dir.path() / "root.pem");
    test_support::runOpenssl(dir.path(), "x509 -in " + test_support::shellQuote(fixtures().unrelatedRoot().string()) +
                                             " -outform DER -out unrelated.der");
    test_support::writeFile(dir.path() / "README.txt", "not a certificate\n");
    const TrustAnchors fromDir = anchorsOf({dir.path()});
    const ChainOutcome viaDir = Chain(fromDir).withIntermediate(Signer::Good);
    EXPECT_TRUE(viaDir.trusted) << viaDir.reason;
    EXPECT_EQ(viaDir.anchorSubject, TrustFixtures::kRootSubject);

    const auto bundle = dir.path() / "bundle.crt";
    test_support::writeFile(bundle, test_support::readFile(fixtures().unrelatedRoot()) +
                                        test_support::readFile(fixtures().root()));
    EXPECT_TRUE(Chain(anchorsOf({bundle})).withIntermediate(Signer::Good).trusted);
    EXPECT_FALSE(anchorsOf({dir.path() / "unrelated.der"}).empty());

    test_support::TempDir empty;
    test_support::writeFile(empty.path() / "README.txt", "not a certificate\n");
    TrustAnchors anchors;
    std::string error;
    for (const auto& path : {empty.path(), dir.path() / "missing.pem"}) {
        EXPECT_FALSE(anchors.addAnchors(path.string(), error));
        EXPECT_EQ(error, path.string() + ": no certificate could be read");
    }
    EXPECT_TRUE(anchors.empty());
}

// The chain alone leaves revocation to its caller: a revoked signer that check() refuses once a CRL is
// given still chains, signer first and anchor last.
TEST(TrustAnchors, ChainOfIgnoresTheCrlsThatCheckApplies) {
    TrustAnchors anchors = anchorsOf({fixtures().root()});
    std::string error;
    ASSERT_TRUE(anchors.addCrls(fixtures().crl().string(), error)) << error;
    EXPECT_EQ(Chain(anchors).withIntermediate(Signer::Revoked).reason, "certificate revoked");
    const X509Ptr intermediate = loadPem(fixtures().intermediate());
    X509* const pool[] = {intermediate.get()};
    const ChainOutcome chain = anchors.chainOf(loadSigner(Signer::Revoked).get(), pool, std::time(nullptr));
    ASSERT_TRUE(chain.trusted) << chain.reason;
    ASSERT_EQ(chain.chain.size(), 3u);
    EXPECT_EQ(X509_cmp(chain.chain[1].get(), intermediate.get()), 0);
    EXPECT_EQ(certificateNameText(X509_get_subject_name(chain.chain[2].get())), TrustFixtures::kRootSubject);
    EXPECT_EQ(chain.anchorSubject, TrustFixtures::kRootSubject);
}
} // namespace
