// Same-document references: the base64 transform and the fallbacks after a
// digest mismatch.
#include "support/Signing.h"

#include <gtest/gtest.h>

namespace {

using namespace test_support;

const std::string kContent = "<a Id=\"x\" k=\"v\">text</a>";

TEST(InternalReferenceFallbacks, StoredDigestMatchesAsTextOrAsHexBytes) {
    ClsXmlDSig dsig;
    const std::string hex = sha256Of(kContent, "hex_lower");
    ASSERT_EQ(hex.size(), 64u);
    std::string lastAltered = sha256Of(kContent);
    lastAltered.back() = 'A'; // every character counts, the last one too
    ASSERT_TRUE(loadXml(dsig, documentWithReferences(kContent, referenceXml("#x", hex) +
                                                                   referenceXml("#x", std::string(64, '0')) +
                                                                   referenceXml("#x", lastAltered))));
    EXPECT_FALSE(dsig.VerifySignature(true));
    EXPECT_EQ(failedIndexes(dsig), (std::vector<int>{1, 2}));
    for (const auto& failed : dsig.report().failedReferences)
        EXPECT_EQ(failed.reason, 1);
    EXPECT_TRUE(usedAttempt(dsig, FurtherAttempt::HexDigestValue, 0));
}

// The base64 transform digests the decoded text content of the referenced
// element; child elements do not keep the text from decoding.
TEST(InternalReferenceBase64, DigestsTheDecodedContent) {
    const std::string b64 = "http://www.w3.org/2000/09/xmldsig#base64";
    ClsXmlDSig dsig;
    ASSERT_TRUE(
        loadXml(dsig, documentWithReferences("<b Id=\"p\">SGVsbG8g\nd29ybGQ=</b><b Id=\"q\">SGVsbG8gd29ybGQ=<i/></b>",
                                             referenceXml("#p", sha256Of("Hello world"), {b64}) +
                                                 referenceXml("#q", sha256Of("Hello world"), {b64}))));
    EXPECT_FALSE(dsig.VerifySignature(true));
    EXPECT_EQ(dsig.report().references.size(), 2u);
    EXPECT_TRUE(failedIndexes(dsig).empty()) << dsig.lastErrorText();
    EXPECT_TRUE(dsig.report().attempts.empty());
}

} // namespace

// A CR just before the enveloped signature and an LF just after become one
// line end when the signature is cut from the text; the route that leaves
// the signature out of a following canonicalization must hash the same.
TEST(InternalReferenceEnveloped, EveryRouteHashesTheTextWithTheSignatureCut) {
    const std::string digest = sha256Of("<doc>a\nb</doc>");
    const std::string references = referenceXml("", digest, {std::string(kEnveloped), std::string(kC14n)}) +
                                   referenceXml("", digest, {std::string(kEnveloped)});
    std::string doc = documentWithReferences("a\r", references);
    doc = replaced(doc, "</Signature></doc>", "</Signature>\nb</doc>");
    ClsXmlDSig dsig;
    ASSERT_TRUE(loadXml(dsig, doc));
    EXPECT_FALSE(dsig.VerifySignature(true));
    EXPECT_EQ(failedIndexes(dsig), std::vector<int>{}) << dsig.lastErrorText();
}

// The SWIFT Alliance LAU element is cut from the canonical text on every
// route, also when the namespace that marks such a message is written with
// a character reference and appears only once decoded.
TEST(InternalReferenceSwift, LauIsCutWhateverTheRoute) {
    const std::string digest = sha256Of("<doc><m xmlns:s=\"urn:swift:saa:xsd:saa.2.0\"></m></doc>");
    ClsXmlDSig dsig;
    ASSERT_TRUE(
        loadXml(dsig, documentWithReferences("<m xmlns:s=\"urn:swift:saa:xsd:saa&#46;2.0\"><LAU>zz</LAU></m>",
                                             referenceXml("", digest, {std::string(kEnveloped), std::string(kC14n)}))));
    EXPECT_FALSE(dsig.VerifySignature(true));
    EXPECT_EQ(failedIndexes(dsig), std::vector<int>{}) << dsig.lastErrorText();
}
