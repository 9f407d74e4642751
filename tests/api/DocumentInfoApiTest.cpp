#include "xmldsig/DocumentInfo.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace {

// Two signatures in SII's namespace: the first with a prefixed name, a
// reference without URI, an exclusive canonicalization with a prefix list and
// a SignatureValue that is no base64; the second plain.
constexpr const char* kTwoSignatures =
    R"(<DTE xmlns="http://www.sii.cl/SiiDte">)"
    R"(<ds:Signature xmlns:ds="http://www.w3.org/2000/09/xmldsig#" Id="S1"><ds:SignedInfo>)"
    R"(<ds:CanonicalizationMethod Algorithm="http://www.w3.org/2001/10/xml-exc-c14n#">)"
    R"(<ec:InclusiveNamespaces xmlns:ec="http://www.w3.org/2001/10/xml-exc-c14n#" PrefixList="a b"/>)"
    R"(</ds:CanonicalizationMethod><ds:SignatureMethod Algorithm="urn:sm"/>)"
    R"(<ds:Reference><ds:DigestMethod Algorithm="urn:dm"/><ds:DigestValue>AAAA</ds:DigestValue></ds:Reference>)"
    R"(<ds:Reference URI="" Id="r2"><ds:Transforms><ds:Transform Algorithm="urn:t1"/><ds:Transform Algorithm="urn:t2"/>)"
    R"(</ds:Transforms><ds:DigestMethod Algorithm="urn:dm"/><ds:DigestValue>BBBB</ds:DigestValue></ds:Reference>)"
    R"(</ds:SignedInfo><ds:SignatureValue>!not base64!</ds:SignatureValue></ds:Signature>)"
    R"(<Signature xmlns="http://www.w3.org/2000/09/xmldsig#"><SignedInfo><SignatureMethod Algorithm="urn:sm2"/>)"
    R"(</SignedInfo><SignatureValue>AAEC</SignatureValue></Signature></DTE>)";

} // namespace

TEST(DocumentInfoApi, SignaturesAndReferencesAsWritten) {
    const xmldsig::DocumentInfo info = xmldsig::describe(kTwoSignatures);
    ASSERT_TRUE(info.status) << info.status.message;
    ASSERT_EQ(info.signatures.size(), 2u);
    EXPECT_EQ(info.profile, (std::vector<std::string>{"sii-cl", "no-sort-bug-retry"}));

    const xmldsig::SignatureInfo& first = info.signatures[0];
    EXPECT_EQ(first.index, 0);
    EXPECT_EQ(first.id, "S1");
    EXPECT_EQ(first.elementName, "ds:Signature");
    EXPECT_EQ(first.signatureMethod, "urn:sm");
    EXPECT_EQ(first.canonicalizationMethod, "http://www.w3.org/2001/10/xml-exc-c14n#");
    EXPECT_EQ(first.inclusivePrefixes, "a b");
    EXPECT_EQ(first.signatureValueBytes, std::nullopt);
    ASSERT_EQ(first.references.size(), 2u);
    EXPECT_EQ(first.references[0].uri, std::nullopt);
    EXPECT_TRUE(first.references[0].transforms.empty());
    EXPECT_EQ(first.references[0].digestValue, "AAAA");
    EXPECT_EQ(first.references[1].index, 1);
    EXPECT_EQ(first.references[1].uri, std::optional<std::string>(""));
    EXPECT_EQ(first.references[1].id, "r2");
    EXPECT_EQ(first.references[1].digestMethod, "urn:dm");
    EXPECT_EQ(first.references[1].transforms, (std::vector<std::string>{"urn:t1", "urn:t2"}));

    const xmldsig::SignatureInfo& second = info.signatures[1];
    EXPECT_EQ(second.index, 1);
    EXPECT_EQ(second.elementName, "Signature");
    EXPECT_EQ(second.id, "");
    EXPECT_EQ(second.signatureMethod, "urn:sm2");
    EXPECT_EQ(second.signatureValueBytes, std::optional<std::size_t>(3));
    EXPECT_TRUE(second.references.empty());
}
