// References by "#xpointer(/)" and "#xpointer(id('x'))" that xmlsec1 signs at
// test time, with and without transforms after them, verify, and keep the
// comments of their node-set: a changed comment fails them as it fails
// xmlsec1, and so does changed content.
#include "support/Signing.h"

#include <gtest/gtest.h>

namespace {

using namespace test_support;

constexpr const char* kSecret = "xpointer secret";

std::string transform(std::string_view algorithm) {
    return "<Transform Algorithm=\"" + std::string(algorithm) + "\"/>";
}

const std::string kSubtractSignature =
    "<Transform Algorithm=\"http://www.w3.org/2002/06/xmldsig-filter2\"><XPath "
    "xmlns=\"http://www.w3.org/2002/06/xmldsig-filter2\" xmlns:dsig=\"http://www.w3.org/2000/09/xmldsig#\" "
    "Filter=\"subtract\">//dsig:Signature</XPath></Transform>";
const std::string kC14nWithComments = transform(std::string(kC14n) + "#WithComments");
const std::string kExcC14nWithComments = transform(std::string(kExcC14n) + "WithComments");

struct XPointerCase {
    const char* uri;
    std::string transforms;
};

const XPointerCase kCases[] = {
    {"#xpointer(/)", kSubtractSignature + kExcC14nWithComments},
    {"#xpointer(/)", transform(kEnveloped) + kC14nWithComments},
    {"#xpointer(id('d1'))", kSubtractSignature + kExcC14nWithComments},
    {"#xpointer(id('d1'))", kC14nWithComments},
};

std::string documentTemplate(const XPointerCase& c) {
    return "<!DOCTYPE doc [<!ATTLIST data Id ID #IMPLIED>]>\n<doc><!-- c1 --><data Id=\"d1\"><!-- c2 "
           "--><item>Hello</item></data><Signature xmlns=\"" +
           std::string(kDsigNs) + "\"><SignedInfo><CanonicalizationMethod Algorithm=\"" + std::string(kC14n) +
           "\"/><SignatureMethod Algorithm=\"" + std::string(kHmacSha256) + "\"/><Reference URI=\"" + c.uri +
           "\"><Transforms>" + c.transforms + "</Transforms><DigestMethod Algorithm=\"" + std::string(kSha256) +
           "\"/><DigestValue/></Reference></SignedInfo><SignatureValue/></Signature></doc>";
}

TEST(XmlsecXPointer, TheNodeSetKeepsItsCommentsWithAndWithoutTransforms) {
    const HmacSigning signing(kSecret);
    for (const XPointerCase& c : kCases) {
        SCOPED_TRACE(documentTemplate(c));
        const std::string doc = signing.sign(documentTemplate(c));
        ASSERT_FALSE(doc.empty());
        EXPECT_TRUE(signing.verifier(doc)->VerifySignature(true));
        EXPECT_FALSE(signing.verifier(replaced(doc, "<!-- c2 -->", "<!-- cX -->"))->VerifySignature(true));
        EXPECT_FALSE(signing.verifier(replaced(doc, ">Hello<", ">Hellp<"))->VerifySignature(true));
    }
}

} // namespace
