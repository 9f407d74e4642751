#include "verifier/DSigReference.h"
#include "companion/log/LogBase.h"
#include "companion/xml/ClsXml.h"

#include <gtest/gtest.h>

#include <string>

namespace {

DSigReference parsed(const std::string& referenceXml, LogBase& log) {
    RefPtr<ClsXml> xml(ClsXml::createNewCls());
    EXPECT_TRUE(xml->loadXml(std::string_view(referenceXml), false, log)) << log.renderText();
    DSigReference ref;
    EXPECT_TRUE(ref.parseReference(*xml, log));
    return ref;
}

DSigReference withDigestMethod(const std::string& alg) {
    LogNull log;
    return parsed("<Reference><DigestMethod Algorithm=\"" + alg + "\"/></Reference>", log);
}

TEST(DSigReference, EmptyUriIsPresentAndMissingUriIsOmitted) {
    LogNull log;
    DSigReference empty = parsed(R"(<ds:Reference xmlns:ds="urn:x" URI=""/>)", log);
    EXPECT_FALSE(empty.m_uriOmitted);
    EXPECT_TRUE(empty.m_uri.isEmpty());

    DSigReference omitted = parsed(R"(<ds:Reference xmlns:ds="urn:x" Id="r1"/>)", log);
    EXPECT_TRUE(omitted.m_uriOmitted);
    EXPECT_EQ(omitted.m_id.view(), "r1");
}

TEST(DSigReference, DigestValueLosesAllWhitespace) {
    LogNull log;
    DSigReference ref =
        parsed("<Reference URI=\"#x\"><DigestValue>\n\t  AbC+\r\n  /dE= \n</DigestValue></Reference>", log);
    EXPECT_EQ(ref.m_digestValue.view(), "AbC+/dE=");
}

TEST(DSigReference, TransformsAreKeptAsXml) {
    LogNull log;
    DSigReference ref = parsed(
        R"(<ds:Reference xmlns:ds="urn:x" URI=""><ds:Transforms><ds:Transform Algorithm="http://www.w3.org/2000/09/xmldsig#enveloped-signature"/></ds:Transforms><ds:Transforms><ds:Transform Algorithm="second"/></ds:Transforms></ds:Reference>)",
        log);
    EXPECT_NE(ref.m_transformsXml.view().find("enveloped-signature"), std::string_view::npos);
    EXPECT_EQ(ref.m_transformsXml.view().find("second"), std::string_view::npos);
    // The serialized transforms parse back to the same element.
    RefPtr<ClsXml> again(ClsXml::createNewCls());
    ASSERT_TRUE(again->loadXml(ref.m_transformsXml.view(), false, log));
    EXPECT_EQ(again->tag(), "ds:Transforms");
    EXPECT_EQ(again->get_NumChildren(), 1);

    DSigReference none = parsed("<Reference URI=\"\"/>", log);
    EXPECT_TRUE(none.m_transformsXml.isEmpty());
}

TEST(DSigReference, HashAlgorithmFromDigestMethod) {
    EXPECT_EQ(withDigestMethod("http://www.w3.org/2001/04/xmlenc#sha256").getHashAlg(), 7);
    EXPECT_EQ(withDigestMethod("http://www.w3.org/2001/04/xmlenc#SHA512").getHashAlg(), 3);
    EXPECT_EQ(withDigestMethod("http://www.w3.org/2001/04/xmldsig-more#sha384").getHashAlg(), 2);
    EXPECT_EQ(withDigestMethod("http://www.w3.org/2001/04/xmldsig-more#md5").getHashAlg(), 5);
    EXPECT_EQ(withDigestMethod("http://www.w3.org/2001/04/xmlenc#ripemd160").getHashAlg(), 10);
    EXPECT_EQ(withDigestMethod("http://www.w3.org/2000/09/xmldsig#sha1").getHashAlg(), 1);
    EXPECT_EQ(withDigestMethod("http://www.w3.org/2001/04/xmldsig-more#sha224").getHashAlg(), 1);
    EXPECT_EQ(withDigestMethod("").getHashAlg(), 1);
}

} // namespace
