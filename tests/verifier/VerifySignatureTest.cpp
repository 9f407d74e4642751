// The verification driver end to end on an HMAC signature made by xmlsec1:
// the reference stage's counting, the signature-value step and the limits.
#include "support/Signing.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using namespace test_support;
namespace fs = std::filesystem;

const std::string kData = "detached bytes\n";

// <doc> with two fragments and a signature over them and over data.txt.
class VerifySignature : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        hmac = std::make_unique<HmacSigning>();
        writeFile(hmac->dir.path() / "data.txt", kData);
        std::string diagnostics;
        signedDoc =
            hmac->sign(hmacTemplate("<p Id=\"a\">one</p><p Id=\"b\">two</p>",
                                    referenceXml("#a", "") + referenceXml("#b", "") + referenceXml("data.txt", "")),
                       "--id-attr:Id p --store-signatures", &diagnostics);
        canonicalSignedInfo = preSignedData(diagnostics);
    }

    static std::unique_ptr<ClsXmlDSig> verifier(const std::string& doc, bool withDirs = true) {
        return hmac->verifier(doc, withDirs);
    }

    static inline std::unique_ptr<HmacSigning> hmac;
    static inline std::string signedDoc, canonicalSignedInfo;
};

// Missing external data is excused by IgnoreExternalRefs; data that is
// there but does not match is not.
TEST_F(VerifySignature, ReferenceFailuresAreCounted) {
    auto dsig = verifier(signedDoc, false);
    EXPECT_FALSE(dsig->VerifySignature(true));
    EXPECT_EQ(dsig->report().stage, VerificationStage::References);
    EXPECT_EQ(failedIndexes(*dsig), std::vector<int>{2});
    EXPECT_EQ(dsig->get_RefFailReason(), 2);
    EXPECT_EQ(dsig->report().countedReferenceFailures, 1);

    dsig->put_IgnoreExternalRefs(true);
    EXPECT_TRUE(dsig->VerifySignature(true)) << dsig->lastErrorText();
    ASSERT_EQ(dsig->report().failedReferences.size(), 1u);
    EXPECT_EQ(dsig->report().failedReferences[0].reason, 2);
    EXPECT_EQ(dsig->report().countedReferenceFailures, 0);

    setBytes(*dsig, 2, "other bytes");
    EXPECT_FALSE(dsig->VerifySignature(true));
    EXPECT_EQ(dsig->report().countedReferenceFailures, 1);
    EXPECT_EQ(dsig->get_RefFailReason(), 1);

    // Every reference is checked even after failures; the SignedInfo itself
    // still verifies.
    auto tampered = verifier(replaced(replaced(signedDoc, ">one<", ">onE<"), ">two<", ">twO<"));
    EXPECT_FALSE(tampered->VerifySignature(true));
    EXPECT_EQ(tampered->report().countedReferenceFailures, 2);
    EXPECT_EQ(failedIndexes(*tampered), (std::vector<int>{0, 1}));
    ASSERT_EQ(tampered->report().references.size(), 3u);
    EXPECT_TRUE(tampered->report().references[2].matched);
    EXPECT_TRUE(tampered->VerifySignature(false));
    EXPECT_EQ(tampered->report().stage, VerificationStage::SignatureValue);
}

// An unknown CanonicalizationMethod is treated as inclusive C14N; the value
// was computed over the inclusive form, and a tampered value still fails.
TEST_F(VerifySignature, UnknownCanonicalizationMethodVerifiesInclusively) {
    const std::string unknown = "urn:example:canonical";
    const fs::path si = hmac->dir.path() / "si.c14n";
    writeFile(si, replaced(canonicalSignedInfo, kC14n, unknown));
    const ProcessResult mac =
        runProcess("openssl dgst -sha256 -hmac secret -binary " + shellQuote(si.string()) + " | base64 -w0");
    ASSERT_EQ(mac.exitCode, 0);
    const std::string doc = withSignatureValue(replaced(signedDoc, kC14n, unknown), mac.out);
    EXPECT_TRUE(verifier(doc)->VerifySignature(true));
    auto forged = verifier(replaced(doc, "<SignatureValue>" + mac.out.substr(0, 4), "<SignatureValue>AAAA"));
    EXPECT_FALSE(forged->VerifySignature(true));
    EXPECT_TRUE(forged->report().valueMismatch);
}

// No signature, no reference, or no key: each stops at its own stage.
TEST_F(VerifySignature, NothingToVerify) {
    const std::string noRefs = "<doc><Signature xmlns=\"" + std::string(kDsigNs) +
                               "\"><SignedInfo></SignedInfo><SignatureValue>AA==</SignatureValue></Signature></doc>";
    for (const auto& [doc, message] :
         {std::pair{std::string("<doc/>"), "There are no signatures."}, {noRefs, "There are no references."}}) {
        ClsXmlDSig dsig;
        ASSERT_TRUE(loadXml(dsig, doc));
        EXPECT_FALSE(dsig.VerifySignature(true));
        EXPECT_EQ(dsig.report().stage, VerificationStage::Selection);
        EXPECT_EQ(dsig.report().reason, message);
    }
    ClsXmlDSig noKey;
    ASSERT_TRUE(loadXml(noKey, signedDoc));
    EXPECT_FALSE(noKey.VerifySignature(false));
    EXPECT_EQ(noKey.report().stage, VerificationStage::KeyResolution);
}

// Each limit fails the verification with its reason before any digest is
// computed, and the VerifyOptions member moves it.
TEST(VerificationLimits, OverALimitFailsWithItsReasonBeforeAnyDigest) {
    std::string manyRefs;
    for (int i = 0; i < 10000; ++i)
        manyRefs += referenceXml("", "AAAA");
    const std::string deepRef = referenceXml("", "AAAA", std::vector<std::string>(17, std::string(kEnveloped)));
    const struct {
        const char* option;
        std::string references, raised, reason;
        uint64_t count, limit;
    } cases[] = {
        {"MaxReferences", manyRefs, R"({"MaxReferences": 10000})",
         R"(References in the signature: 10000, over the limit of 1000 (VerifyOptions "MaxReferences").)", 10000, 1000},
        {"MaxTransforms", referenceXml("", "AAAA") + deepRef, R"({"MaxTransforms": 17})",
         R"(Transforms in reference 1: 17, over the limit of 16 (VerifyOptions "MaxTransforms").)", 17, 16},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.option);
        ClsXmlDSig dsig;
        ASSERT_TRUE(loadXml(dsig, documentWithReferences("", c.references)));
        EXPECT_FALSE(dsig.VerifySignature(true));
        const VerificationReport& report = dsig.report();
        EXPECT_EQ(report.stage, VerificationStage::Limits);
        EXPECT_EQ(report.reason, c.reason);
        ASSERT_TRUE(report.limit);
        EXPECT_EQ(report.limit->option, c.option);
        EXPECT_EQ(report.limit->count, c.count);
        EXPECT_EQ(report.limit->limit, c.limit);
        EXPECT_TRUE(report.references.empty());

        dsig.put_VerifyOptions(XString(c.raised));
        EXPECT_FALSE(dsig.VerifySignature(true));
        EXPECT_EQ(dsig.report().stage, VerificationStage::References);
        EXPECT_FALSE(dsig.report().limit);
        EXPECT_FALSE(dsig.report().references.empty());
    }

    // The SignatureValue's text ("AAAA") against its limit; a value that is
    // not a positive integer, for any member, fails rather than lifting the
    // limit.
    ClsXmlDSig dsig;
    ASSERT_TRUE(loadXml(dsig, documentWithReferences("", referenceXml("", "AAAA"))));
    for (const auto& [options, reason] : {
             std::pair<std::string, std::string>{R"({"MaxSignatureValueBytes": 3})",
                                                 R"(Bytes of SignatureValue: 4, over the limit of 3 (VerifyOptions )"
                                                 R"("MaxSignatureValueBytes").)"},
             {R"({"MaxReferences": 0})", R"(VerifyOptions "MaxReferences" must be a positive integer.)"},
             {R"({"MaxTransforms": "20"})", R"(VerifyOptions "MaxTransforms" must be a positive integer.)"},
             {R"({"MaxXPathNodes": -5})", R"(VerifyOptions "MaxXPathNodes" must be a positive integer.)"},
         }) {
        dsig.put_VerifyOptions(XString(options));
        EXPECT_FALSE(dsig.VerifySignature(false)) << options;
        EXPECT_EQ(dsig.report().stage, VerificationStage::Limits) << options;
        EXPECT_EQ(dsig.report().reason, reason);
    }
    dsig.put_VerifyOptions(XString(R"({"MaxSignatureValueBytes": 4})"));
    dsig.VerifySignature(false);
    EXPECT_NE(dsig.report().stage, VerificationStage::Limits);
}

// Every kind of work a document can multiply draws on one budget per
// verification: nodes an XPath walks, tests or merges, XPath trees built,
// text canonicalized for every reference. Each document is refused under a
// small budget and verified (its fake digests failing) under a large one.
TEST(VerificationLimits, OneWorkBudgetCoversEveryReferenceAndTransform) {
    auto repeated = [](const std::string& item, int count, const std::string& separator = "") {
        std::string out;
        for (int i = 0; i < count; ++i)
            out += (i ? separator : "") + item;
        return out;
    };
    std::string declarations;
    for (int i = 0; i < 300; ++i)
        declarations += " xmlns:p" + std::to_string(i) + "=\"urn:p" + std::to_string(i) + "\"";
    const std::string nested = repeated("<e>", 60) + repeated("</e>", 60);
    std::string distinctReferences;
    for (int i = 0; i < 200; ++i)
        distinctReferences += referenceXml("#x", "A" + std::to_string(i), {std::string(kC14n)});
    const struct {
        const char* work;
        std::string document;
    } cases[] = {
        {"XPath steps", documentWithReferences(
                            nested, repeated(referenceXml("", "AAAA", {xpathTransform("count(//*//*) &gt; 0")}), 30))},
        {"unions", documentWithReferences(
                       nested, referenceXml("", "AAAA", {filter2Transform("union", repeated("//*", 400, " | "))}))},
        {"predicates",
         documentWithReferences(
             nested, referenceXml("", "AAAA", {filter2Transform("union", "//*" + repeated("[true()]", 400))}))},
        {"trees", replaced(documentWithReferences(repeated("<e/>", 100),
                                                  referenceXml("", "AAAA", {filter2Transform("union", "/")})),
                           "<doc>", "<doc" + declarations + ">")},
        {"canonical text", replaced(documentWithReferences("<a Id=\"x\">t</a>", distinctReferences), "<doc>",
                                    "<doc" + declarations + ">")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.work);
        ClsXmlDSig dsig;
        ASSERT_TRUE(loadXml(dsig, c.document));
        dsig.put_VerifyOptions(XString(R"({"MaxWorkUnits": 20000})"));
        EXPECT_FALSE(dsig.VerifySignature(true));
        EXPECT_EQ(dsig.report().stage, VerificationStage::Limits) << dsig.report().reason;
        ASSERT_TRUE(dsig.report().limit);
        EXPECT_EQ(dsig.report().limit->option, "MaxWorkUnits");
        EXPECT_EQ(dsig.report().limit->limit, 20000 + c.document.size());

        dsig.put_VerifyOptions(XString(R"({"MaxWorkUnits": 1000000000})"));
        EXPECT_FALSE(dsig.VerifySignature(true));
        EXPECT_EQ(dsig.report().stage, VerificationStage::References);
        EXPECT_FALSE(dsig.report().limit);
    }
}

// Half the references name their own element by Id, half are the whole
// document (each of the latter after the first reuses the memo's outcome):
// a tampered element fails exactly the references that cover it.
TEST_F(VerifySignature, ManyReferencesAreDigestedOncePerDistinctReference) {
    constexpr int kPairs = 500;
    std::string items, refs;
    for (int i = 0; i < kPairs; ++i) {
        items += "<p Id=\"e" + std::to_string(i) + "\">value " + std::to_string(i) + "</p>";
        refs += referenceXml("#e" + std::to_string(i), "", {std::string(kExcC14n)}) +
                referenceXml("", "", {std::string(kEnveloped), std::string(kExcC14n)});
    }
    const std::string signedMany = hmac->sign(hmacTemplate(items, refs, "", kExcC14n), "--id-attr:Id p");
    ASSERT_FALSE(signedMany.empty());

    auto dsig = verifier(signedMany);
    EXPECT_TRUE(dsig->VerifySignature(true)) << dsig->lastErrorText();
    EXPECT_EQ(dsig->report().references.size(), static_cast<size_t>(2 * kPairs));

    auto tampered = verifier(replaced(signedMany, ">value 7<", ">value 8<"));
    EXPECT_FALSE(tampered->VerifySignature(true));
    const std::vector<int> failed = failedIndexes(*tampered);
    ASSERT_EQ(failed.size(), static_cast<size_t>(kPairs + 1));
    EXPECT_EQ(failed[7], 14);
    EXPECT_EQ(failed[8], 15);
}

// A copy of a reference with another digest value is digested and fails on
// its own; an outcome is never reused for it.
TEST(ReferenceDigestMemo, ACopyWithAnotherDigestValueIsCheckedOnItsOwn) {
    const std::string element = "<p Id=\"a\">one</p>";
    const std::string good = referenceXml("#a", sha256Of(element));
    const std::string forged = referenceXml("#a", sha256Of("<p Id=\"a\">two</p>"));
    ClsXmlDSig dsig;
    ASSERT_TRUE(loadXml(dsig, documentWithReferences(element, good + good + forged)));
    EXPECT_FALSE(dsig.VerifySignature(true));
    EXPECT_EQ(failedIndexes(dsig), std::vector<int>{2});
}

} // namespace

// The MyInvois document digest that one document's reference stage leaves
// must not be signed for the next document, nor for a run that skips it.
TEST(MyInvoisReuse, NoDigestOfAnEarlierDocumentIsSigned) {
    const auto dir = corpusDir() / "real" / "myinvois";
    ClsXmlDSig dsig;
    XString options("MYINVOIS");
    dsig.put_UncommonOptions(options);
    ASSERT_TRUE(loadXml(dsig, readFile(dir / "myinvois-14.xml")));
    ASSERT_TRUE(dsig.VerifySignature(true)) << dsig.lastErrorText();
    EXPECT_FALSE(dsig.VerifySignature(false));
    ASSERT_TRUE(loadXml(dsig, readFile(dir / "myinvois-14-tamper.xml")));
    EXPECT_FALSE(dsig.VerifySignature(false));
}

// The DTE that the reference stage extracts stays until the next load, so a
// run without the reference stage then canonicalizes SignedInfo in it too.
TEST(SiiDteExtraction, LastsUntilTheNextLoad) {
    const auto file = corpusDir() / "real" / "sii" / "sii-14-odoo-EnvioDTE-SII_F000001T33.xml";
    ClsXmlDSig dsig;
    ASSERT_TRUE(loadXml(dsig, readFile(file)));
    EXPECT_TRUE(dsig.VerifySignature(true)) << dsig.lastErrorText();
    EXPECT_TRUE(dsig.VerifySignature(false)) << dsig.lastErrorText();
    EXPECT_TRUE(dsig.report().attempts.empty()) << "the extracted DTE served, no further attempt";
}
