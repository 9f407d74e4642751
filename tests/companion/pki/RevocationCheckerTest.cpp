#include "companion/pki/RevocationChecker.h"

#include "companion/pki/TrustAnchors.h"
#include "support/RevocationLab.h"

#include <openssl/pem.h>

#include <gtest/gtest.h>

namespace {

using revocation_test::RevocationLab;

constexpr const char* kResponderSubject = "CN=responder, O=Revocation Test, C=EE";
constexpr const char* kIntermediateSubject = "CN=Trust Test Intermediate, O=Trust Test, C=EE";
constexpr std::time_t kDay = 24 * 60 * 60;

std::vector<uint8_t> bytesOf(const std::string& text) {
    return {text.begin(), text.end()};
}

class Revocation : public ::testing::Test {
protected:
    static void SetUpTestSuite() { s_lab = std::make_unique<RevocationLab>(); }
    static void TearDownTestSuite() { s_lab.reset(); }

    Revocation() : m_issuer(load("intermediate")) {
        std::string error;
        EXPECT_TRUE(m_anchors.addAnchors(s_lab->pem("root").string(), error)) << error;
    }

    static X509Ptr load(const std::string& name) {
        const BioPtr bio(BIO_new_file(s_lab->pem(name).c_str(), "r"));
        X509Ptr cert(bio ? PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr) : nullptr);
        EXPECT_TRUE(cert) << name;
        return cert;
    }
    RevocationEvidence check(const RevocationChecker& checker, const std::string& name,
                             const RevocationSources& sources, std::time_t at = std::time(nullptr)) const {
        return checker.check(load(name).get(), m_issuer.get(), at, sources, m_anchors);
    }
    static RevocationSources online() { return {{}, {}, true}; }
    static RevocationSources embedded(std::vector<std::vector<uint8_t>> responses) {
        return {std::move(responses), {}, false};
    }

    static std::unique_ptr<RevocationLab> s_lab;
    TrustAnchors m_anchors;
    X509Ptr m_issuer;
};

std::unique_ptr<RevocationLab> Revocation::s_lab;

// The responder is the issuer's delegated one; a second question about the same certificate is answered
// from the cache, and an answer produced after the time checked still proves the status then.
TEST_F(Revocation, TheAiaResponderAnswersGoodRevokedAndUnknown) {
    const RevocationChecker checker;
    const RevocationEvidence good = check(checker, "ocsp-good", online());
    EXPECT_EQ(good.status, RevocationStatus::Good) << good.reason;
    EXPECT_EQ(good.source, "OCSP " + s_lab->responderUrl());
    EXPECT_EQ(good.url, s_lab->responderUrl());
    EXPECT_EQ(good.responder, kResponderSubject);
    ASSERT_TRUE(good.thisUpdate && good.nextUpdate && good.producedAt);
    EXPECT_EQ(*good.nextUpdate - *good.thisUpdate, 10 * 60);
    ASSERT_EQ(good.fetches.size(), 1u);
    EXPECT_FALSE(good.fetches[0].fromCache);
    EXPECT_GT(good.fetches[0].bytes, 0u);

    const RevocationEvidence revoked = check(checker, "ocsp-revoked", online());
    EXPECT_EQ(revoked.status, RevocationStatus::Revoked) << revoked.reason;
    EXPECT_EQ(revoked.revocationReason, "keyCompromise");
    ASSERT_TRUE(revoked.revocationTime);
    const RevocationEvidence before = check(checker, "ocsp-revoked", online(), *revoked.revocationTime - kDay);
    EXPECT_EQ(before.status, RevocationStatus::Good) << before.reason;
    EXPECT_EQ(before.revocationTime, revoked.revocationTime);
    ASSERT_EQ(before.fetches.size(), 1u);
    EXPECT_TRUE(before.fetches[0].fromCache);

    const RevocationEvidence unknown = check(checker, "ocsp-unknown", online());
    EXPECT_EQ(unknown.status, RevocationStatus::Unknown) << unknown.reason;
    // Unknown says nothing about an earlier time.
    const RevocationEvidence unknownEarlier = check(checker, "ocsp-unknown", online(), std::time(nullptr) - kDay);
    EXPECT_EQ(unknownEarlier.status, RevocationStatus::Unavailable);
    EXPECT_NE(unknownEarlier.reason.find("it was not current at"), std::string::npos) << unknownEarlier.reason;

    const RevocationEvidence offline = check(checker, "ocsp-good", {});
    EXPECT_EQ(offline.status, RevocationStatus::Unavailable);
    EXPECT_NE(offline.reason.find("online checks are off"), std::string::npos) << offline.reason;
}

TEST_F(Revocation, TheCrlIsReadFromItsDistributionPointTheFileOrTheSignature) {
    const std::string url = s_lab->crlServer().baseUrl() + "/intermediate.crl";
    const int requestsBefore = s_lab->crlServer().requestCount();
    RevocationOptions small;
    small.maxCrlBytes = 64;
    const RevocationEvidence tooLarge = check(RevocationChecker(small), "crl-revoked", online());
    EXPECT_EQ(tooLarge.status, RevocationStatus::Unavailable);
    EXPECT_NE(tooLarge.reason.find("larger than 64 bytes"), std::string::npos) << tooLarge.reason;

    const RevocationChecker checker;
    for (const bool cached : {false, true}) {
        const RevocationEvidence revoked = check(checker, "crl-revoked", online());
        EXPECT_EQ(revoked.status, RevocationStatus::Revoked) << revoked.reason;
        EXPECT_EQ(revoked.source, "CRL " + url);
        EXPECT_EQ(revoked.responder, kIntermediateSubject);
        ASSERT_EQ(revoked.fetches.size(), 1u);
        EXPECT_EQ(revoked.fetches[0].fromCache, cached);
    }
    EXPECT_EQ(s_lab->crlServer().requestCount(), requestsBefore + 2);

    const std::string der =
        test_support::runOpenssl(s_lab->dir(), "crl -in " + s_lab->crl().filename().string() + " -outform DER").out;
    const RevocationEvidence embedded = check(checker, "crl-revoked", {{}, {bytesOf(der)}, false});
    EXPECT_EQ(embedded.status, RevocationStatus::Revoked) << embedded.reason;
    EXPECT_EQ(embedded.source, "embedded CRL");
    std::string error;
    ASSERT_TRUE(m_anchors.addCrls(s_lab->crl().string(), error)) << error;
    const RevocationEvidence fromFile = check(checker, "ocsp-good", {});
    EXPECT_EQ(fromFile.status, RevocationStatus::Good) << fromFile.reason;
    EXPECT_EQ(fromFile.source, "CRL file");
}

// Embedded responses come first and need no request; one signed by anything but the issuer or its
// delegated responder does not count, nor does one for another certificate or another time.
TEST_F(Revocation, EmbeddedResponsesCountOnlyFromTheIssuerOrItsResponder) {
    const RevocationChecker checker;
    const std::vector<uint8_t> good = bytesOf(s_lab->response("ocsp-good", "intermediate"));
    const RevocationEvidence fromIssuer = check(checker, "ocsp-good", {{good}, {}, true});
    EXPECT_EQ(fromIssuer.status, RevocationStatus::Good) << fromIssuer.reason;
    EXPECT_EQ(fromIssuer.source, "embedded OCSP response");
    EXPECT_EQ(fromIssuer.responder, kIntermediateSubject);
    EXPECT_TRUE(fromIssuer.fetches.empty());
    const RevocationEvidence revoked = check(
        checker, "ocsp-revoked", embedded({good, bytesOf(s_lab->response("ocsp-revoked", "intermediate", "sha256"))}));
    EXPECT_EQ(revoked.status, RevocationStatus::Revoked) << revoked.reason;

    const RevocationEvidence forged = check(
        checker, "ocsp-good",
        embedded({bytesOf(s_lab->response("ocsp-good", "rogue")), bytesOf(s_lab->response("ocsp-good", "ocsp-good"))}));
    EXPECT_EQ(forged.status, RevocationStatus::Unavailable);
    EXPECT_NE(forged.reason.find("embedded OCSP response 1: its signature does not verify"), std::string::npos)
        << forged.reason;
    EXPECT_NE(forged.reason.find("embedded OCSP response 2: its responder \"CN=ocsp-good"), std::string::npos)
        << forged.reason;
    EXPECT_NE(forged.reason.find("missing ocspsigning usage"), std::string::npos) << forged.reason;

    const RevocationEvidence late = check(checker, "ocsp-good", embedded({good}), std::time(nullptr) + 2 * kDay);
    EXPECT_EQ(late.status, RevocationStatus::Unavailable);
    EXPECT_NE(late.reason.find("it was not current at"), std::string::npos) << late.reason;
    EXPECT_EQ(check(checker, "ocsp-good", embedded({good}), std::time(nullptr) - 365 * kDay).status,
              RevocationStatus::Good);
}

TEST_F(Revocation, AResponderThatIsDownLeavesTheStatusUnavailable) {
    const RevocationEvidence down = check(RevocationChecker(), "ocsp-down", online());
    EXPECT_EQ(down.status, RevocationStatus::Unavailable);
    ASSERT_EQ(down.fetches.size(), 1u);
    EXPECT_FALSE(down.fetches[0].error.empty());
    EXPECT_TRUE(down.reason.starts_with("OCSP " + down.fetches[0].url + ": HTTP POST to ")) << down.reason;
}

} // namespace
