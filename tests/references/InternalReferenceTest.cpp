// Same-document references: which transforms apply on which route, the
// base64 transform, and the fallbacks after a mismatch.
#include "verifier/DSigTestSupport.h"

#include <gtest/gtest.h>

namespace {

using namespace test_support;

const std::string kContent = "<a Id=\"x\" k=\"v\">text</a>";
const std::string kWhole = "<doc>" + kContent + "</doc>";
const std::string kEnv(kEnveloped), kInc(kC14n), kExc(kExcC14n);

struct Route {
    const char* name;
    const char* uri;
    std::vector<std::string> transforms;
    std::string digested;
};

class InternalReference : public ::testing::TestWithParam<Route> {};

// The enveloped transform applies to every whole-document reference (even
// after a canonicalization, even when not listed), never to a fragment; a
// canonicalization follows when none is listed.
TEST_P(InternalReference, DigestsWhatTheRouteSelects) {
    const Route& r = GetParam();
    ClsXmlDSig dsig;
    ASSERT_TRUE(
        loadXml(dsig, documentWithReferences(kContent, referenceXml(r.uri, sha256Of(r.digested), r.transforms))));
    EXPECT_TRUE(dsig.VerifyReferenceDigest(0)) << dsig.lastErrorText();
    EXPECT_EQ(dsig.get_RefFailReason(), 0);
}

// Names the case in test listings instead of dumping its bytes.
void PrintTo(const Route& c, std::ostream* os) {
    *os << c.name;
}

INSTANTIATE_TEST_SUITE_P(Routes, InternalReference,
                         ::testing::Values(Route{"EmptyUriNoTransforms", "", {}, kWhole},
                                           Route{"EmptyUriEnvelopedThenExclusive", "", {kEnv, kExc}, kWhole},
                                           Route{"EmptyUriExclusiveOnly", "", {kExc}, kWhole},
                                           Route{"EmptyUriEnvelopedOnly", "", {kEnv}, kWhole},
                                           Route{"EmptyTransformsElement", "", {"<!-- none -->"}, kWhole},
                                           Route{"FragmentNoTransforms", "#x", {}, kContent},
                                           Route{"FragmentInclusive", "#x", {kInc}, kContent}),
                         [](const auto& info) { return std::string(info.param.name); });

// A fragment that holds the signature keeps it: no enveloped transform is
// implied for an Id reference.
TEST(InternalReferenceFragment, IdReferenceDoesNotRemoveTheSignature) {
    const std::string refsNoDigest = referenceXml("#root", "DIGEST");
    std::string doc = documentWithReferences("<p>t</p>", refsNoDigest);
    doc.replace(0, 5, "<doc Id=\"root\">");
    const std::string without = "<doc Id=\"root\"><p>t</p></doc>";
    const size_t at = doc.find("DIGEST");
    ClsXmlDSig dsig;
    ASSERT_TRUE(loadXml(dsig, std::string(doc).replace(at, 6, sha256Of(without))));
    EXPECT_FALSE(dsig.VerifyReferenceDigest(0));
    EXPECT_EQ(dsig.get_RefFailReason(), 1);
}

TEST(InternalReferenceFallbacks, HexStoredDigestMatchesItsBytes) {
    ClsXmlDSig dsig;
    const std::string hex = sha256Of(kContent, "hex_lower");
    ASSERT_EQ(hex.size(), 64u);
    ASSERT_TRUE(loadXml(
        dsig, documentWithReferences(kContent, referenceXml("#x", hex) + referenceXml("#x", std::string(64, '0')))));
    EXPECT_TRUE(dsig.VerifyReferenceDigest(0)) << dsig.lastErrorText();
    EXPECT_EQ(loggedData(dsig, "storedRefDigest_base64"), std::vector<std::string>{sha256Of(kContent)});
    EXPECT_FALSE(dsig.VerifyReferenceDigest(1));
    EXPECT_EQ(dsig.get_RefFailReason(), 1);
}

TEST(InternalReferenceFallbacks, AllowXmlDigestErrorIsCaseSensitive) {
    for (const auto& [option, accepted] : {std::pair{"AllowXmlDigestError", true}, {"allowxmldigesterror", false}}) {
        SCOPED_TRACE(option);
        ClsXmlDSig dsig;
        ASSERT_TRUE(loadXml(dsig, documentWithReferences(kContent, referenceXml("#x", sha256Of("other")))));
        XString o(option);
        dsig.put_UncommonOptions(o);
        EXPECT_EQ(dsig.VerifyReferenceDigest(0), accepted);
        EXPECT_EQ(dsig.get_RefFailReason(), accepted ? 0 : 1);
    }
}

// The base64 transform digests the decoded text content of the referenced
// element; child elements are reported but the text still decodes.
TEST(InternalReferenceBase64, DigestsTheDecodedContent) {
    const std::string b64 = "http://www.w3.org/2000/09/xmldsig#base64";
    ClsXmlDSig dsig;
    ASSERT_TRUE(
        loadXml(dsig, documentWithReferences("<b Id=\"p\">SGVsbG8g\nd29ybGQ=</b><b Id=\"q\">SGVsbG8gd29ybGQ=<i/></b>",
                                             referenceXml("#p", sha256Of("Hello world"), {b64}) +
                                                 referenceXml("#q", sha256Of("Hello world"), {b64}))));
    EXPECT_TRUE(dsig.VerifyReferenceDigest(0)) << dsig.lastErrorText();
    EXPECT_FALSE(loggedLine(dsig, "Expected 0 XML children."));
    EXPECT_TRUE(dsig.VerifyReferenceDigest(1)) << dsig.lastErrorText();
    EXPECT_TRUE(loggedLine(dsig, "Expected 0 XML children."));
    EXPECT_EQ(loggedData(dsig, "numChildren"), std::vector<std::string>{"1"});
}

} // namespace
