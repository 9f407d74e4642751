// External references with transforms, signed at test time by xmlsec1: the
// transforms apply to the file's data once its bytes as they are mismatch.
#include "support/Signing.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using namespace test_support;
namespace fs = std::filesystem;

// Far from canonical: a declaration, CRLF, attributes out of order, single
// quotes, an empty-element tag, a character reference.
const std::string kXmlFile = "<?xml version=\"1.0\"?>\r\n<data b=\"2\" a=\"1\">\r\n  <!-- a note -->\r\n"
                             "  <item x='y'/>\r\n  <v>&#49;00</v>\r\n</data>\r\n";
// "external bytes, base64 encoded", wrapped at 20 columns.
const std::string kBase64File = "ZXh0ZXJuYWwgYnl0ZXMs\nIGJhc2U2NCBlbmNvZGVk\n";

class ExternalTransforms : public ::testing::Test {
protected:
    // References 0 to 2 canonicalize data.xml (C14N 1.0, exclusive with
    // comments, 1.1); reference 3 decodes data.b64.
    static void SetUpTestSuite() {
        hmac = std::make_unique<HmacSigning>("external secret");
        writeFiles(kXmlFile, kBase64File);
        signedDoc = hmac->sign(
            hmacTemplate("", referenceXml("data.xml", "", {std::string(kC14n)}) +
                                 referenceXml("data.xml", "", {std::string(kExcC14n) + "WithComments"}) +
                                 referenceXml("data.xml", "", {"http://www.w3.org/2006/12/xml-c14n11"}) +
                                 referenceXml("data.b64", "", {"http://www.w3.org/2000/09/xmldsig#base64"})));
    }

    static void writeFiles(const std::string& xml, const std::string& base64) {
        writeFile(hmac->dir.path() / "data.xml", xml);
        writeFile(hmac->dir.path() / "data.b64", base64);
    }

    void SetUp() override {
        ASSERT_FALSE(signedDoc.empty());
        dsig = hmac->verifier(signedDoc);
    }
    void TearDown() override { writeFiles(kXmlFile, kBase64File); }

    static inline std::unique_ptr<HmacSigning> hmac;
    static inline std::string signedDoc;
    std::unique_ptr<ClsXmlDSig> dsig;
};

// The bytes as written mismatch; with the transforms each reference
// matches, and the report says which attempt decided.
TEST_F(ExternalTransforms, VerifiesWithTheTransformsApplied) {
    EXPECT_TRUE(dsig->VerifySignature(true)) << dsig->lastErrorText();
    EXPECT_EQ(dsig->get_RefFailReason(), 0);
    for (int i = 0; i < 4; ++i)
        EXPECT_TRUE(usedAttempt(*dsig, FurtherAttempt::ExternalTransforms, i)) << i;
}

// A change of the data's meaning fails the references that cover it (the
// comment only the WithComments one), with the mismatch as the reason; the
// SignedInfo itself still verifies.
TEST_F(ExternalTransforms, TamperedDataIsInvalid) {
    const struct {
        const char* what;
        std::string xml, base64;
        std::vector<int> failed;
    } cases[] = {
        {"text", replaced(kXmlFile, "&#49;00", "&#57;00"), kBase64File, {0, 1, 2}},
        {"attribute", replaced(kXmlFile, "a=\"1\"", "a=\"3\""), kBase64File, {0, 1, 2}},
        {"empty element gains content", replaced(kXmlFile, "x='y'/>", "x='y'> </item>"), kBase64File, {0, 1, 2}},
        {"comment", replaced(kXmlFile, "a note", "a nose"), kBase64File, {1}},
        {"decoded byte", kXmlFile, replaced(kBase64File, "ZXh0", "ZXh1"), {3}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        writeFiles(c.xml, c.base64);
        EXPECT_FALSE(dsig->VerifySignature(true));
        EXPECT_EQ(failedIndexes(*dsig), c.failed);
        EXPECT_TRUE(dsig->VerifySignature(false)) << dsig->lastErrorText();
        EXPECT_FALSE(dsig->VerifyReferenceDigest(c.failed.front()));
        EXPECT_EQ(dsig->get_RefFailReason(), 1);
    }
}

// Missing data is still excused by IgnoreExternalRefs; caller data is
// transformed like a found file, each reference its own; a file the caller
// names is read whole only within MaxExternalFileBytes.
TEST_F(ExternalTransforms, MissingDataCallerDataAndTheSizeLimit) {
    fs::remove(hmac->dir.path() / "data.b64");
    EXPECT_FALSE(dsig->VerifySignature(true));
    EXPECT_EQ(dsig->get_RefFailReason(), 2);
    dsig->put_IgnoreExternalRefs(true);
    EXPECT_TRUE(dsig->VerifySignature(true)) << dsig->lastErrorText();
    dsig->put_IgnoreExternalRefs(false);

    setBytes(*dsig, 0, replaced(kXmlFile, "a=\"1\"", "a=\"3\""));
    setBytes(*dsig, 1, kXmlFile);
    setBytes(*dsig, 2, kXmlFile);
    setBytes(*dsig, 3, kBase64File);
    EXPECT_FALSE(dsig->VerifySignature(true));
    EXPECT_EQ(failedIndexes(*dsig), std::vector<int>{0});

    XString file((hmac->dir.path() / "data.xml").string());
    ASSERT_TRUE(dsig->SetRefDataFile(0, file));
    dsig->put_VerifyOptions(XString(R"({"MaxExternalFileBytes": 40})"));
    EXPECT_FALSE(dsig->VerifySignature(true));
    EXPECT_EQ(failedIndexes(*dsig), std::vector<int>{0});
    ASSERT_TRUE(dsig->report().limit);
    EXPECT_EQ(dsig->report().limit->option, "MaxExternalFileBytes");
    EXPECT_EQ(dsig->report().limit->limit, 40u);
    dsig->put_VerifyOptions(XString("{}"));
    EXPECT_TRUE(dsig->VerifySignature(true)) << dsig->lastErrorText();
}

// Reference 0 keeps <keep> by XPath Filter 2.0, reference 1 drops <free> by
// an XPath transform before exclusive canonicalization: both are evaluated on
// the file's data parsed as a document. Reference 2's expression has a form
// recognised as a text edit (remove <free>), but as XPath it selects nothing
// while a <free> is there: the evaluator's retry decides.
const std::string kSelectedFile = "<?xml version=\"1.0\"?>\n<data xmlns:n=\"urn:n\">\n  <!-- c -->\n"
                                  "  <keep a=\"1\">signed <n:x/></keep>\n  <free>not signed</free>\n</data>\n";

// What the expressions select is signed, what they leave out is not.
TEST(ExternalExpressions, SelectedContentIsSignedUnselectedIsNot) {
    const HmacSigning hmac("external secret");
    writeFile(hmac.dir.path() / "data.xml", kSelectedFile);
    const std::string signedDoc = hmac.sign(hmacTemplate(
        "", referenceXml("data.xml", "", {filter2Transform("intersect", "//keep[k:x]", " xmlns:k=\"urn:n\"")}) +
                referenceXml("data.xml", "", {xpathTransform("not(ancestor-or-self::free)"), std::string(kExcC14n)}) +
                referenceXml("data.xml", "", {xpathTransform("not(//ancestor-or-self::free)")})));
    ASSERT_FALSE(signedDoc.empty());
    const struct {
        const char* what;
        std::string xml;
        std::vector<int> failed;
    } cases[] = {
        {"as signed", kSelectedFile, {}},
        {"unselected text", replaced(kSelectedFile, "not signed", "changed"), {}},
        {"selected text", replaced(kSelectedFile, "signed <", "forged <"), {0, 1}},
        {"selected attribute", replaced(kSelectedFile, "a=\"1\"", "a=\"2\""), {0, 1}},
        {"the element that empties reference 2 removed", replaced(kSelectedFile, "<free>not signed</free>", ""), {2}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        writeFile(hmac.dir.path() / "data.xml", c.xml);
        auto dsig = hmac.verifier(signedDoc);
        EXPECT_EQ(dsig->VerifySignature(true), c.failed.empty()) << dsig->lastErrorText();
        EXPECT_EQ(failedIndexes(*dsig), c.failed);
    }
}

} // namespace
