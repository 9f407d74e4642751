// Hostile documents around the selected signature: a forged second signature
// that shares the first one's reference digest and value, a copy of a
// signature with the same Id nested in it, identifiers that several elements
// carry, and the report of what each reference covered.
#include "support/Signing.h"

#include "references/RefFailReason.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using namespace test_support;

class SelectedSignature : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        hmac = std::make_unique<HmacSigning>();
        writeFile(hmac->dir.path() / "data.txt", "detached bytes\n");
    }

    // <doc> with two paragraphs, signed by xmlsec1 with HMAC-SHA256.
    static std::string sign(const std::string& signatureAttributes, const std::string& references) {
        return hmac->sign(hmacTemplate("\n<p Id=\"a\">one</p>\n<p Id=\"b\">two</p>\n", references, signatureAttributes),
                          "--id-attr:Id p");
    }
    static std::unique_ptr<ClsXmlDSig> verifier(const std::string& doc) { return hmac->verifier(doc); }

    static inline std::unique_ptr<HmacSigning> hmac;
};

std::string between(const std::string& s, std::string_view open, std::string_view close) {
    const size_t a = s.find(open);
    return s.substr(a, s.find(close, a) + close.size() - a);
}

// The forgery adds a reference to content the signer never saw and copies
// the genuine value; located by the shared digest, the genuine SignedInfo
// would be checked in its place.
TEST_F(SelectedSignature, ForgedSecondSignatureSharingTheDigestIsInvalid) {
    const std::string genuine = sign("", referenceXml("#a", ""));
    const std::string signedInfo = between(genuine, "<SignedInfo>", "</SignedInfo>");
    const std::string forgedInfo =
        replaced(signedInfo, "</SignedInfo>", referenceXml("#b", sha256Of("<p Id=\"b\">two</p>")) + "</SignedInfo>");
    const std::string forged =
        replaced(genuine, "</doc>",
                 "<Signature xmlns=\"" + std::string(kDsigNs) + "\">" + forgedInfo +
                     between(genuine, "<SignatureValue>", "</SignatureValue>") + "</Signature></doc>");
    auto dsig = verifier(forged);
    ASSERT_EQ(dsig->get_NumSignatures(), 2);
    EXPECT_TRUE(dsig->VerifySignature(true)) << dsig->lastErrorText();
    dsig->put_Selector(1);
    EXPECT_FALSE(dsig->VerifySignature(true));
    // Its own SignedInfo was checked, not the genuine one.
    EXPECT_EQ(dsig->report().stage, VerificationStage::SignatureValue);
    EXPECT_TRUE(dsig->report().valueMismatch);
    EXPECT_FALSE(dsig->VerifySignature(false));
}

// The copy's enveloped-signature transform must cut the copy, leaving the
// original in the document, and its SignedInfo is its own.
TEST_F(SelectedSignature, NestedCopyWithTheSameIdIsInvalid) {
    const std::string doc = sign(" Id=\"sig\"", referenceXml("", "", {std::string(kEnveloped)}));
    const std::string copy = between(doc, "<Signature", "</Signature>");
    auto dsig = verifier(replaced(doc, "</Signature>", "<Object>" + copy + "</Object></Signature>"));
    ASSERT_EQ(dsig->get_NumSignatures(), 2);
    EXPECT_TRUE(dsig->VerifySignature(true)) << dsig->lastErrorText();
    ASSERT_EQ(dsig->report().references.size(), 1u);
    EXPECT_EQ(dsig->report().references[0].target, ReferenceOutcome::Target::WholeDocument);
    dsig->put_Selector(1);
    EXPECT_FALSE(dsig->VerifySignature(true));
    EXPECT_EQ(failedIndexes(*dsig), std::vector<int>{0});
}

TEST_F(SelectedSignature, ReportsWhatEachReferenceCovered) {
    const std::string doc = sign("", referenceXml("#a", "", {std::string(kC14n)}) + referenceXml("data.txt", ""));
    auto dsig = verifier(doc);
    ASSERT_TRUE(dsig->VerifySignature(true)) << dsig->lastErrorText();
    const std::vector<ReferenceOutcome> refs = dsig->report().references;
    ASSERT_EQ(refs.size(), 2u);
    EXPECT_EQ(refs[0].target, ReferenceOutcome::Target::Element);
    EXPECT_EQ(refs[0].uri, "#a");
    EXPECT_EQ(refs[0].elementName, "p");
    EXPECT_EQ(refs[0].path, "/doc/p[1]");
    EXPECT_EQ(refs[0].offset, doc.find("<p Id=\"a\""));
    EXPECT_EQ(refs[0].line, 3u); // after the XML declaration xmlsec1 writes
    EXPECT_EQ(refs[0].transforms, std::vector<std::string>{std::string(kC14n)});
    EXPECT_EQ(refs[0].digestMethod, kSha256);
    EXPECT_TRUE(refs[0].matched);
    EXPECT_EQ(refs[1].target, ReferenceOutcome::Target::External);
    EXPECT_EQ(std::filesystem::path(refs[1].externalFile).filename(), "data.txt");

    // A tampered paragraph: the same element, reported as not matched.
    auto tampered = verifier(replaced(doc, ">one<", ">One<"));
    EXPECT_FALSE(tampered->VerifySignature(true));
    EXPECT_FALSE(tampered->report().references[0].matched);
    EXPECT_EQ(tampered->report().references[0].path, "/doc/p[1]");
}

// Any spelling of an identifier counts, a DTD ID attribute included; one
// element carrying the value twice is still one element.
TEST(DuplicateIdentifiers, MakeTheReferenceFailWithItsOwnReason) {
    const std::string wsu =
        " xmlns:wsu=\"http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-wssecurity-utility-1.0.xsd\"";
    const std::string ref = referenceXml("#a", sha256Of("<p Id=\"a\">one</p>"));
    const struct {
        std::string prolog, other;
        bool unique;
    } cases[] = {
        {"", "<q Id=\"a\"/>", false},
        {"", "<q" + wsu + " wsu:Id=\"a\"/>", false},
        {"", "<q xml:id=\"a\"/>", false},
        {"", "<q ID=\"a\"/>", false},
        {"<!DOCTYPE doc [<!ATTLIST q name ID #IMPLIED>]>", "<q name=\"a\"/>", false},
        {"", "<q name=\"a\"/>", true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.other);
        ClsXmlDSig dsig;
        ASSERT_TRUE(loadXml(dsig, c.prolog + documentWithReferences("<p Id=\"a\">one</p>" + c.other, ref)));
        EXPECT_FALSE(dsig.VerifySignature(true));
        EXPECT_EQ(dsig.get_RefFailReason(),
                  c.unique ? ref_fail_reason::kMatched : ref_fail_reason::kIdentifierNotUnique);
        ASSERT_EQ(dsig.report().references.size(), 1u);
        EXPECT_EQ(dsig.report().references[0].matched, c.unique);
    }
}

} // namespace
