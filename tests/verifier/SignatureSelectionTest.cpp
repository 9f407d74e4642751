#include "companion/log/LogBase.h"
#include "companion/xml/ClsXml.h"
#include "verifier/ClsXmlDSig.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

constexpr const char* kDocument =
    R"(<doc xmlns:ds="http://www.w3.org/2000/09/xmldsig#" xmlns:ec="http://www.w3.org/2001/10/xml-exc-c14n#">
<ds:Signature Id="dup">
  <ds:SignedInfo>
    <ds:CanonicalizationMethod Algorithm="http://www.w3.org/2001/10/xml-exc-c14n#">
      <ec:InclusiveNamespaces PrefixList="soap wsu"/>
    </ds:CanonicalizationMethod>
    <ds:SignatureMethod Algorithm="http://www.w3.org/2001/04/xmldsig-more#rsa-sha256"/>
    <ds:Reference URI="#a"><ds:DigestMethod Algorithm="http://www.w3.org/2000/09/xmldsig#sha1"/><ds:DigestValue>AAAA</ds:DigestValue></ds:Reference>
    <ds:Reference URI="#b"><ds:DigestMethod Algorithm="http://www.w3.org/2000/09/xmldsig#sha1"/><ds:DigestValue>BBBB</ds:DigestValue></ds:Reference>
  </ds:SignedInfo>
  <ds:SignatureValue>
QUJD&amp;#13;
REVG&amp;#xD;
  </ds:SignatureValue>
</ds:Signature>
<Signature xmlns="http://www.w3.org/2000/09/xmldsig#" Id="dup">
  <SignedInfo><SignatureMethod/></SignedInfo>
</Signature>
<ds:Signature Id="third"/>
</doc>)";

class SignatureSelection : public ::testing::Test {
protected:
    void SetUp() override {
        dsig.reset(ClsXmlDSig::createNewCls());
        XString text(kDocument);
        ASSERT_TRUE(dsig->LoadSignature(text)) << dsig->lastErrorText();
        ASSERT_EQ(dsig->get_NumSignatures(), 3);
    }
    std::unique_ptr<ClsXmlDSig> dsig;
    LogBase log;
};

TEST_F(SignatureSelection, FirstSignatureWithTheIdWins) {
    dsig->put_Selector(2);
    StringBuffer id("dup");
    EXPECT_TRUE(dsig->selectBySignatureId(id, log));
    EXPECT_EQ(dsig->get_Selector(), 0);

    StringBuffer third("third");
    EXPECT_TRUE(dsig->selectBySignatureId(third, log));
    EXPECT_EQ(dsig->get_Selector(), 2);
}

TEST_F(SignatureSelection, UnknownIdKeepsTheSelectionAndLogs) {
    dsig->put_Selector(1);
    StringBuffer partial("du");
    log.enterContext("test");
    EXPECT_FALSE(dsig->selectBySignatureId(partial, log));
    log.leaveContext();
    EXPECT_EQ(dsig->get_Selector(), 1);
    EXPECT_EQ(log.firstError(), "Signature with Id not found.");
}

TEST_F(SignatureSelection, IdAndReferencesFollowTheSelection) {
    EXPECT_EQ(dsig->get_NumReferences(), 2);
    dsig->put_Selector(1);
    EXPECT_EQ(dsig->get_NumReferences(), 0);
    dsig->put_Selector(2);
    EXPECT_EQ(dsig->get_NumReferences(), 0);
    StringBuffer id;
    EXPECT_TRUE(dsig->selectedSignatureId(id, log));
    EXPECT_EQ(id.view(), "third");
}

TEST_F(SignatureSelection, GetReferenceByIndex) {
    RefPtr<ClsXml> second(dsig->getReference(1, log));
    ASSERT_TRUE(second);
    StringBuffer uri;
    EXPECT_TRUE(second->getAttrValue("URI", uri));
    EXPECT_EQ(uri.view(), "#b");

    log.enterContext("test");
    EXPECT_EQ(dsig->getReference(2, log), nullptr);
    EXPECT_EQ(log.firstError(), "No Reference element at the requested index.");
    log.leaveContext();

    dsig->put_Selector(2);
    log.enterContext("test");
    EXPECT_EQ(dsig->getReference(0, log), nullptr);
    EXPECT_EQ(log.firstError(), "No SignedInfo child.");
    log.leaveContext();
}

TEST_F(SignatureSelection, SignedInfoReaders) {
    StringBuffer method, alg, prefixes;
    EXPECT_TRUE(dsig->getSignatureMethod(method, log));
    EXPECT_EQ(method.view(), "http://www.w3.org/2001/04/xmldsig-more#rsa-sha256");
    EXPECT_TRUE(dsig->getCanonicalizationMethod(alg, prefixes, log));
    EXPECT_EQ(alg.view(), "http://www.w3.org/2001/10/xml-exc-c14n#");
    EXPECT_EQ(prefixes.view(), "soap wsu");

    // The second signature's SignatureMethod has no Algorithm: present but empty.
    dsig->put_Selector(1);
    EXPECT_TRUE(dsig->getSignatureMethod(method, log));
    EXPECT_TRUE(method.isEmpty());
    log.enterContext("test");
    EXPECT_FALSE(dsig->getCanonicalizationMethod(alg, prefixes, log));
    log.leaveContext();
    EXPECT_NE(log.renderText().find("childNotFound: *:CanonicalizationMethod"), std::string::npos);
}

TEST_F(SignatureSelection, SignatureValueDropsLiteralCarriageReturnReferences) {
    StringBuffer value;
    EXPECT_TRUE(dsig->getSignatureValue(value, log));
    EXPECT_EQ(value.view(), "\nQUJD\nREVG\n  ");

    dsig->put_Selector(1);
    log.enterContext("test");
    EXPECT_FALSE(dsig->getSignatureValue(value, log));
    EXPECT_EQ(log.firstError(), "No SignatureValue child.");
    log.leaveContext();
}

} // namespace
