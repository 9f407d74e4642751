// The verification driver end to end on an HMAC signature made by xmlsec1:
// the reference stage's counting, the signature-value step, and one object
// shared by threads.
#include "verifier/DSigTestSupport.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>

namespace {

using namespace test_support;
namespace fs = std::filesystem;

const std::string kData = "detached bytes\n";

// <doc> with two fragments and a signature over them and over data.txt.
class VerifySignature : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        dir = std::make_unique<TempDir>();
        writeFile(dir->path() / "data.txt", kData);
        writeFile(dir->path() / "hmac.key", "secret");
        const std::string tmpl =
            "<doc><p Id=\"a\">one</p><p Id=\"b\">two</p><Signature xmlns=\"" + std::string(kDsigNs) +
            "\"><SignedInfo><CanonicalizationMethod Algorithm=\"" + std::string(kC14n) +
            "\"/><SignatureMethod Algorithm=\"http://www.w3.org/2001/04/xmldsig-more#hmac-sha256\"/>" +
            referenceXml("#a", "") + referenceXml("#b", "") + referenceXml("data.txt", "") +
            "</SignedInfo><SignatureValue/></Signature></doc>";
        std::string diagnostics;
        signedDoc = xmlsecSign(dir->path(), tmpl, "--hmackey hmac.key --id-attr:Id p --store-signatures", &diagnostics);
        ASSERT_FALSE(signedDoc.empty()) << diagnostics;
        canonicalSignedInfo = preSignedData(diagnostics);
    }
    static void TearDownTestSuite() { dir.reset(); }

    static std::unique_ptr<ClsXmlDSig> verifier(const std::string& doc, bool withDirs = true) {
        auto dsig = std::make_unique<ClsXmlDSig>();
        EXPECT_TRUE(loadXml(*dsig, doc));
        XString key("secret"), encoding("ascii"), dirs(withDirs ? dir->path().string() : "");
        dsig->SetHmacKey(key, encoding);
        dsig->put_ExternalRefDirs(dirs);
        return dsig;
    }

    static std::unique_ptr<TempDir> dir;
    static std::string signedDoc, canonicalSignedInfo;
};

std::unique_ptr<TempDir> VerifySignature::dir;
std::string VerifySignature::signedDoc, VerifySignature::canonicalSignedInfo;

// Missing external data is excused by IgnoreExternalRefs; data that is
// there but does not match is not.
TEST_F(VerifySignature, ReferenceFailuresAreCounted) {
    auto dsig = verifier(signedDoc, false);
    EXPECT_FALSE(dsig->VerifySignature(true));
    EXPECT_EQ(loggedData(*dsig, "numExternalRefDirs"), std::vector<std::string>{"0"});
    EXPECT_EQ(failedReferenceIndexes(*dsig), std::vector<int>{2});
    EXPECT_EQ(dsig->get_RefFailReason(), 2);

    dsig->put_IgnoreExternalRefs(true);
    EXPECT_TRUE(dsig->VerifySignature(true)) << dsig->lastErrorText();
    EXPECT_TRUE(loggedLine(*dsig, "No external data defined for this reference."));
    EXPECT_TRUE(loggedData(*dsig, "refFailureCount").empty());

    setBytes(*dsig, 2, "other bytes");
    EXPECT_FALSE(dsig->VerifySignature(true));
    EXPECT_EQ(loggedData(*dsig, "refFailureCount"), std::vector<std::string>{"1"});
    EXPECT_EQ(dsig->get_RefFailReason(), 1);

    // Every reference is checked even after failures; the SignedInfo itself
    // still verifies.
    auto tampered = verifier(replaced(replaced(signedDoc, ">one<", ">onE<"), ">two<", ">twO<"));
    EXPECT_FALSE(tampered->VerifySignature(true));
    EXPECT_EQ(loggedData(*tampered, "refFailureCount"), std::vector<std::string>{"2"});
    EXPECT_EQ(failedReferenceIndexes(*tampered), (std::vector<int>{0, 1}));
    EXPECT_EQ(loggedData(*tampered, "calculatedDigest").back(), sha256Of(kData));
    EXPECT_TRUE(tampered->VerifySignature(false));
}

// An unknown CanonicalizationMethod is logged and treated as inclusive
// C14N; the value was computed over the inclusive form.
TEST_F(VerifySignature, UnknownCanonicalizationMethodVerifiesInclusively) {
    const std::string unknown = "urn:example:canonical";
    const fs::path si = dir->path() / "si.c14n";
    writeFile(si, replaced(canonicalSignedInfo, kC14n, unknown));
    const ProcessResult mac =
        runProcess("openssl dgst -sha256 -hmac secret -binary " + shellQuote(si.string()) + " | base64 -w0");
    ASSERT_EQ(mac.exitCode, 0);
    auto dsig = verifier(withSignatureValue(replaced(signedDoc, kC14n, unknown), mac.out));
    EXPECT_TRUE(dsig->VerifySignature(true)) << dsig->lastErrorText();
    EXPECT_TRUE(loggedLine(*dsig, "Unrecognized canonicalization method."));
}

TEST_F(VerifySignature, NothingToVerify) {
    const std::string noRefs = "<doc><Signature xmlns=\"" + std::string(kDsigNs) +
                               "\"><SignedInfo></SignedInfo><SignatureValue>AA==</SignatureValue></Signature></doc>";
    for (const auto& [doc, message] :
         {std::pair{std::string("<doc/>"), "There are no signatures."}, {noRefs, "There are no references."}}) {
        ClsXmlDSig dsig;
        ASSERT_TRUE(loadXml(dsig, doc));
        EXPECT_FALSE(dsig.VerifySignature(true));
        EXPECT_TRUE(loggedLine(dsig, message)) << dsig.lastErrorText();
    }
}

// One object shared by 8 threads gives each call the serial verdict.
TEST_F(VerifySignature, SharedObjectGivesTheSerialVerdicts) {
    auto valid = verifier(signedDoc);
    auto tampered = verifier(replaced(signedDoc, ">two<", ">twO<"));
    ASSERT_TRUE(valid->VerifySignature(true));
    ASSERT_FALSE(tampered->VerifySignature(true));
    std::vector<int> wrong(8, 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t)
        threads.emplace_back([&, t] {
            for (int i = 0; i < 6; ++i) {
                wrong[t] += !valid->VerifySignature(true) + tampered->VerifySignature(true);
                wrong[t] += !valid->VerifySignature(false) + !tampered->VerifySignature(false);
            }
        });
    for (std::thread& t : threads)
        t.join();
    EXPECT_EQ(wrong, std::vector<int>(8, 0));
}

} // namespace

// The MyInvois document digest that one document's reference stage leaves
// must not be signed for the next document, nor for a run that skips it.
TEST(MyInvoisReuse, NoDigestOfAnEarlierDocumentIsSigned) {
    const auto dir = corpusDir() / "real" / "myinvois";
    if (!std::filesystem::exists(dir / "myinvois-14.xml"))
        GTEST_SKIP() << "no real corpus";
    ClsXmlDSig dsig;
    XString options("MYINVOIS");
    dsig.put_UncommonOptions(options);
    ASSERT_TRUE(loadXml(dsig, readFile(dir / "myinvois-14.xml")));
    ASSERT_TRUE(dsig.VerifySignature(true)) << dsig.lastErrorText();
    EXPECT_FALSE(dsig.VerifySignature(false));
    ASSERT_TRUE(loadXml(dsig, readFile(dir / "myinvois-14-tamper.xml")));
    EXPECT_FALSE(dsig.VerifySignature(false));
}
