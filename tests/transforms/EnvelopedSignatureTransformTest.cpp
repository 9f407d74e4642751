#include "support/Signing.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace test_support;

// The enveloped-signature transform finds the signature by its Id or,
// without one, by its digest, and cuts it; under ZATCA the one with Id
// "signature" (exactly) stays in the text.
TEST(EnvelopedSignatureTransform, RemovesTheSignatureItFinds) {
    const std::string digest = sha256Of("<Invoice><ID>7</ID></Invoice>");
    auto document = [&](const std::string& idAttr) {
        return "<Invoice><ID>7</ID><ds:Signature xmlns:ds=\"" + std::string(kDsigNs) + "\"" + idAttr +
               "><ds:SignedInfo><ds:Reference URI=\"\"><ds:Transforms><ds:Transform Algorithm=\"" +
               std::string(kEnveloped) + "\"/></ds:Transforms><ds:DigestMethod Algorithm=\"" + std::string(kSha256) +
               "\"/><ds:DigestValue>\n  " + digest +
               "\n</ds:DigestValue></ds:Reference></ds:SignedInfo><ds:SignatureValue>AA==</ds:SignatureValue>"
               "</ds:Signature></Invoice>";
    };
    const struct {
        const char* idAttr;
        const char* options;
        bool matched;
    } cases[] = {
        {" Id=\"sig1\"", "", true},
        {"", "", true},
        {" Id=\"signature\"", "ZATCA", false},
        {" Id=\"Signature\"", "ZATCA", true},
        {" Id=\"signature\"", "", true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.idAttr) + c.options);
        ClsXmlDSig dsig;
        dsig.put_UncommonOptions(XString(c.options));
        ASSERT_TRUE(loadXml(dsig, document(c.idAttr)));
        EXPECT_FALSE(dsig.VerifySignature(true));
        ASSERT_EQ(dsig.report().references.size(), 1u);
        EXPECT_EQ(dsig.report().references[0].matched, c.matched);
    }
}

} // namespace
