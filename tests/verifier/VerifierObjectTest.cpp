#include "verifier/ClsXmlDSig.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

constexpr const char* kThreeSignatures = R"(<root xmlns:ds="http://www.w3.org/2000/09/xmldsig#">
  <ds:Signature Id="a"><ds:SignedInfo/><ds:SignatureValue>AA==</ds:SignatureValue></ds:Signature>
  <ds:Signature Id="b"><ds:SignedInfo/><ds:SignatureValue>AA==</ds:SignatureValue></ds:Signature>
  <ds:Signature Id="c"><ds:SignedInfo/><ds:SignatureValue>AA==</ds:SignatureValue></ds:Signature>
</root>)";

std::unique_ptr<ClsXmlDSig> loaded(const char* xml, const char* options = "") {
    std::unique_ptr<ClsXmlDSig> dsig(ClsXmlDSig::createNewCls());
    dsig->put_UncommonOptions(XString(options));
    XString text(xml);
    EXPECT_TRUE(dsig->LoadSignature(text)) << dsig->lastErrorText();
    return dsig;
}

TEST(VerifierObject, SelectorIsClampedToTheSignatures) {
    auto dsig = loaded(kThreeSignatures);
    ASSERT_EQ(dsig->get_NumSignatures(), 3);
    dsig->put_Selector(5);
    EXPECT_EQ(dsig->get_Selector(), 2);
    dsig->put_Selector(-1);
    EXPECT_EQ(dsig->get_Selector(), 0);
    dsig->put_Selector(1);
    EXPECT_EQ(dsig->get_Selector(), 1);

    std::unique_ptr<ClsXmlDSig> empty(ClsXmlDSig::createNewCls());
    empty->put_Selector(4);
    EXPECT_EQ(empty->get_Selector(), 0);
}

TEST(VerifierObject, LoadResetsTheSelector) {
    auto dsig = loaded(kThreeSignatures);
    dsig->put_Selector(2);
    XString again(kThreeSignatures);
    ASSERT_TRUE(dsig->LoadSignature(again));
    EXPECT_EQ(dsig->get_Selector(), 0);
}

TEST(VerifierObject, ProfileOptionTokensAreCaseInsensitiveSubstrings) {
    auto lower = loaded(kThreeSignatures, "zatca");
    EXPECT_TRUE(lower->profileFlags().isZatca);
    EXPECT_FALSE(lower->profileFlags().isMyInvois);

    auto embedded = loaded(kThreeSignatures, "VerifyEncapsulatedTimeStamp,MyInvois");
    EXPECT_TRUE(embedded->profileFlags().isMyInvois);
    EXPECT_FALSE(embedded->profileFlags().isZatca);

    auto both = loaded(kThreeSignatures, "MYINVOIS ZATCA");
    EXPECT_TRUE(both->profileFlags().isZatca);
    EXPECT_TRUE(both->profileFlags().isMyInvois);
}

} // namespace
