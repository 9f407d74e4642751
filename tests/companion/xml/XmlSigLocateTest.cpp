#include "companion/xml/XmlSigLocate.h"
#include "TestSupport.h"
#include "XmlTestSupport.h"
#include "companion/log/LogBase.h"
#include "companion/xml/XmlDocument.h"
#include "companion/xml/_tvXmlDtd.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace {

// The text from the first `from` through the first `through` behind it.
std::string_view between(std::string_view doc, std::string_view from, std::string_view through) {
    const size_t begin = doc.find(from);
    const size_t end = doc.find(through, begin);
    return end == std::string_view::npos ? std::string_view{} : doc.substr(begin, end + through.size() - begin);
}

struct Finder {
    explicit Finder(std::string_view text) : doc(text) {}
    XmlSigLocate at;
    _tvXmlDtd dtd;
    LogBase log;
    std::string_view doc;

    bool byId(std::string_view id) { return at.FindXmlSigById(id, doc, dtd, log); }
    bool byDigest(std::string_view digest) { return at.FindXmlSigByRefDigest(digest, doc, dtd, log); }
    std::string_view slice(uint32_t loc, uint32_t len) const { return doc.substr(loc, len); }
    std::string_view signature() const { return slice(at.m_signatureLoc, at.m_signatureLen); }
};

// Decoys in a comment, CDATA and an attribute, a UBL signature, then two
// parallel signatures back to back; the first has its digest wrapped.
constexpr std::string_view kSeveral = R"(<Invoice xmlns:cac="urn:cac" xmlns:ds="http://www.w3.org/2000/09/xmldsig#">
<!-- <ds:Signature Id="sig-a"><ds:SignedInfo><ds:Reference><ds:DigestValue>QUFBQQ==</ds:DigestValue></ds:Reference></ds:SignedInfo><ds:SignatureValue/></ds:Signature> -->
<n><![CDATA[<ds:Signature Id="sig-a"><ds:SignedInfo><ds:Reference><ds:DigestValue>QUFBQQ==</ds:DigestValue></ds:Reference></ds:SignedInfo><ds:SignatureValue/></ds:Signature>]]></n>
<n ref='&lt;ds:Signature Id="sig-a"&gt;'/><cac:Signature Id="sig-ubl"><cac:SignatoryParty/></cac:Signature>
<ds:Signature Id="sig-a"><ds:SignedInfo><ds:Reference URI=""><ds:DigestValue>QUFB
QQ==</ds:DigestValue></ds:Reference></ds:SignedInfo><ds:SignatureValue>c2ln</ds:SignatureValue></ds:Signature><ds:Signature Id="sig-b"><ds:SignedInfo><ds:Reference URI=""><ds:DigestValue>QkJCQg==</ds:DigestValue></ds:Reference></ds:SignedInfo><ds:SignatureValue>c2ln</ds:SignatureValue></ds:Signature>
</Invoice>)";

TEST(XmlSigLocateSelection, FindsTheRightSignatureNotTheDecoys) {
    const std::string_view first =
        between(kSeveral, "<ds:Signature Id=\"sig-a\"><ds:SignedInfo><ds:Reference URI", "</ds:Signature>");
    const std::string_view second = between(kSeveral, "<ds:Signature Id=\"sig-b\">", "</ds:Signature>");
    Finder f{kSeveral};
    ASSERT_TRUE(f.byId("sig-a"));
    EXPECT_EQ(f.signature(), first);
    ASSERT_TRUE(f.byDigest("QUFBQQ=="));
    EXPECT_EQ(f.signature(), first);
    ASSERT_TRUE(f.byId("sig-b"));
    EXPECT_EQ(f.signature(), second);
    EXPECT_EQ(f.slice(f.at.m_signedInfoLoc, f.at.m_signedInfoLen),
              between(second, "<ds:SignedInfo>", "</ds:SignedInfo>"));
    ASSERT_TRUE(f.byDigest(" QkJC\r\nQg== "));
    EXPECT_EQ(f.signature(), second);

    for (const char* id : {"sig-ubl", "sig", "SIG-A", ""})
        EXPECT_FALSE(f.byId(id)) << id;
    EXPECT_FALSE(f.byDigest("QUFB"));
    EXPECT_FALSE(f.log.hasErrors());
}

TEST(XmlSigLocateSelection, MalformedTextFailsWithOneErrorAndClearsPositions) {
    Finder f{R"(<d xmlns:ds="http://www.w3.org/2000/09/xmldsig#"><ds:Signature Id="s"/></d>)"};
    ASSERT_TRUE(f.byId("s"));
    f.doc =
        R"(<d xmlns:ds="http://www.w3.org/2000/09/xmldsig#"><ds:Signature Id="s"><ds:SignedInfo></ds:Signature></d>)";
    EXPECT_FALSE(f.byId("s"));
    EXPECT_EQ(f.at.m_signatureLen, 0u);
    EXPECT_EQ(xml_test::errorCount(f.log), 1);
    EXPECT_NE(f.log.firstError().find("mismatched end tag"), std::string::npos) << f.log.firstError();
}

// Where the tree alone can answer a search by Id, it answers as the walk of
// the text does: every corpus document whose first possible signature has
// an Id, and two made so that only the walk can answer.
TEST(XmlSigLocateSelection, TheTreeAnswersAsTheTextWalkDoes) {
    // Whether the tree answered the search for the first possible
    // signature's Id (or `id`), and if so, as the walk did.
    struct Answer {
        bool fromTree = false;
        bool agrees = true;
    };
    auto ask = [](const std::string& text, std::string id = {}) {
        Answer a;
        std::string error;
        const auto tree = XmlDocument::parse(SharedText::ofString(std::string(text)), false, error);
        if (!tree || tree->signatureCandidates().empty())
            return a;
        const uint32_t first = tree->signatureCandidates().front();
        if (const XmlDocument::Attribute* attr = tree->findAttribute(first, "Id"); attr && id.empty())
            tree->appendAttributeValue(*attr, id);
        XmlSigLocate fromTree;
        fromTree.setParsedDocument(tree.get());
        a.fromTree = fromTree.FindXmlSigByIdInTree(id, tree->startTagBegin(first), tree->source());
        Finder walk{text};
        a.agrees = !a.fromTree || (walk.byId(id) && static_cast<const XmlSigPositions&>(walk.at) == fromTree);
        return a;
    };
    int answered = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(test_support::corpusDir())) {
        if (entry.path().extension() != ".xml")
            continue;
        const Answer a = ask(test_support::readFile(entry.path()));
        EXPECT_TRUE(a.agrees) << entry.path();
        answered += a.fromTree;
    }
    EXPECT_GT(answered, 50);

    const std::string ns = R"( xmlns:ds="http://www.w3.org/2000/09/xmldsig#")";
    for (const std::string& walkOnly :
         {"<d" + ns + R"(><ds:Signature Id="s"><ds:SignedInfo Id="s"/><ds:SignatureValue/></ds:Signature></d>)",
          "<d" + ns + R"(><ds:Signature/><ds:Signature Id="s"><ds:SignedInfo/></ds:Signature></d>)"})
        EXPECT_FALSE(ask(walkOnly, "s").fromTree) << walkOnly;
}

} // namespace
