#include "TestSupport.h"
#include "support/TrustFixtures.h"

#include <gtest/gtest.h>

using namespace test_support;
using trust_test::Signer;
using trust_test::TrustFixtures;

namespace {

ProcessResult verify(const std::string& args) {
    return runTool("verify " + args);
}

std::string q(const std::filesystem::path& p) {
    return shellQuote(p.string());
}

// The verdict of the first line: what follows "signature N (Id X): ".
std::string verdictOf(const ProcessResult& r) {
    size_t at = r.out.find(": VALID");
    if (at == std::string::npos)
        at = r.out.find(": INVALID");
    return at == std::string::npos ? r.out + r.err : r.out.substr(at + 2, r.out.find('\n', at) - at - 2);
}

} // namespace

TEST(VerifyTrust, ChainAnchorTimeKeyUsageAndRevocation) {
    const TrustFixtures& f = TrustFixtures::shared();
    const std::string root = "--trust " + q(f.root()) + " ";
    const std::string inter = "--cert " + q(f.intermediate()) + " ";
    const std::string trusted = std::string("signer trusted (chain to \"") + TrustFixtures::kRootSubject + "\")";
    const std::string good = q(f.document(Signer::Good));
    const struct {
        std::string args;
        int exit;
        std::string verdict;
    } cases[] = {
        // The intermediate comes only through --cert.
        {root + inter + good, 0,
         "VALID rsa-sha256 signer \"CN=good signer, O=Trust Test, C=EE\""
         " (certificate in KeyInfo), " +
             trusted},
        {root + good, 1, "INVALID: signer not trusted: unable to get local issuer certificate"},
        {"--trust " + q(f.unrelatedRoot()) + " " + inter + good, 1,
         "INVALID: signer not trusted: unable to get local issuer certificate"},
        {root + inter + q(f.document(Signer::Expired)), 1, "INVALID: signer not trusted: certificate has expired"},
        {root + inter + "--at 2020-09-01T00:00:00Z " + q(f.document(Signer::Expired)), 0, ""},
        {root + inter + q(f.document(Signer::Encipherment)), 1, "INVALID: signer not trusted: "},
        {root + inter + q(f.document(Signer::Revoked)), 0, ""},
        {root + inter + "--crl " + q(f.crl()) + " " + q(f.document(Signer::Revoked)), 1,
         "INVALID: signer not trusted: certificate revoked"},
        // Without anchors the verdict says the signer was not checked.
        {good, 0, "(certificate in KeyInfo); signer not checked against a trust anchor"},
    };
    for (const auto& c : cases) {
        const ProcessResult r = verify(c.args);
        EXPECT_EQ(r.exitCode, c.exit) << c.args << r.err;
        EXPECT_NE(verdictOf(r).find(c.verdict), std::string::npos) << c.args << "\n" << r.out << r.err;
    }
}

// A key without a certificate has nothing to chain, unless the caller gave it.
TEST(VerifyTrust, KeysWithoutCertificate) {
    const TrustFixtures& f = TrustFixtures::shared();
    const std::filesystem::path examples = examplesDir();
    const std::string root = "--trust " + q(f.root()) + " ";
    const std::string hmac = "--hmac-key " + q(readFile(examples / "keys" / "hmac-secret.txt")) + " ";

    ProcessResult r = verify(root + hmac + q(examples / "hmac-sha256.xml"));
    EXPECT_EQ(r.exitCode, 1) << r.out << r.err;
    EXPECT_EQ(verdictOf(r), "INVALID: signer not trusted: no certificate to chain to a trust anchor (HMAC secret)");

    // KeyInfo lies outside what was signed: without it, the caller's key verifies.
    std::string document = readFile(examples / "exc-c14n-ecdsa.xml");
    const size_t keyInfo = document.find("<ds:KeyInfo>");
    document.erase(keyInfo, document.find("</ds:KeyInfo>") + 13 - keyInfo);
    const TempDir dir;
    writeFile(dir.path() / "bare.xml", document);
    r = verify(root + "--key " + q(examples / "keys" / "rsa-signer.pem") + " --key " +
               q(examples / "keys" / "ecdsa-signer.pem") + " " + q(dir.path() / "bare.xml"));
    EXPECT_EQ(r.exitCode, 0) << r.out << r.err;
    EXPECT_NE(verdictOf(r).find("signer trusted (caller's key)"), std::string::npos) << r.out;

    // The example's self-signed signer is trusted only as its own anchor.
    r = verify(root + q(examples / "enveloped-rsa-x509.xml"));
    EXPECT_EQ(r.exitCode, 1) << r.out << r.err;
    r = verify("--trust " + q(examples / "keys" / "rsa-signer.pem") + " " + q(examples / "enveloped-rsa-x509.xml"));
    EXPECT_EQ(r.exitCode, 0) << r.out << r.err;
}

TEST(VerifyTrust, BadTrustOptionsAreClearErrors) {
    const TrustFixtures& f = TrustFixtures::shared();
    const std::string good = q(f.document(Signer::Good));
    for (const std::string& args :
         {"--trust /nonexistent " + good, "--trust " + q(f.root()) + " --crl " + q(f.root()) + " " + good,
          "--trust " + q(f.root()) + " --at yesterday " + good}) {
        const ProcessResult r = verify(args);
        EXPECT_EQ(r.exitCode, 2) << args;
        EXPECT_TRUE(r.out.empty()) << args;
        EXPECT_EQ(r.err.rfind("xmldsig: ", 0), 0u) << args << r.err;
    }
}
