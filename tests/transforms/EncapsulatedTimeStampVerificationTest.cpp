#include "support/TimestampTestSupport.h"

#include "companion/base/ClsJsonObject.h"
#include "companion/log/LogBase.h"
#include "companion/pki/CmsSignedData.h"
#include "companion/pki/_clsCades.h"
#include "companion/text/ContentCoding.h"
#include "companion/xml/ClsXml.h"
#include "verifier/ClsXmlDSig.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using namespace timestamp_test;
using test_support::logHas;

constexpr const char* kExclusive = "http://www.w3.org/2001/10/xml-exc-c14n#";
constexpr const char* kInclusive = "http://www.w3.org/TR/2001/REC-xml-c14n-20010315";
constexpr const char* kValidateChain = R"({"ValidateTsaChain": true})";

// A signature whose SignatureValue (Id "v") is the given text, stamped with
// the given token and canonicalization method. The root declares a
// namespace that only inclusive canonicalization carries into the element.
std::string stampedDocument(const std::string& signatureValue, const std::string& token,
                            const std::string& method = kExclusive) {
    return "<r xmlns:x=\"urn:x\"><ds:Signature xmlns:ds=\"http://www.w3.org/2000/09/xmldsig#\" Id=\"s\">"
           "<ds:SignedInfo/><ds:SignatureValue Id=\"v\">" +
           signatureValue +
           "</ds:SignatureValue><ds:Object><xades:QualifyingProperties "
           "xmlns:xades=\"http://uri.etsi.org/01903/v1.3.2#\"><xades:UnsignedProperties>"
           "<xades:UnsignedSignatureProperties><xades:SignatureTimeStamp><ds:CanonicalizationMethod Algorithm=\"" +
           method + "\"/><xades:EncapsulatedTimeStamp>" + token +
           "</xades:EncapsulatedTimeStamp></xades:SignatureTimeStamp></xades:UnsignedSignatureProperties>"
           "</xades:UnsignedProperties></xades:QualifyingProperties></ds:Object></ds:Signature></r>";
}

// The SignatureValue element of stampedDocument as each method renders it.
std::string exclusiveForm(const std::string& value) {
    return "<ds:SignatureValue xmlns:ds=\"http://www.w3.org/2000/09/xmldsig#\" Id=\"v\">" + value +
           "</ds:SignatureValue>";
}
std::string inclusiveForm(const std::string& value) {
    return "<ds:SignatureValue xmlns:ds=\"http://www.w3.org/2000/09/xmldsig#\" xmlns:x=\"urn:x\" Id=\"v\">" + value +
           "</ds:SignatureValue>";
}

// The token with one bit changed at a byte offset (negative: from the end).
std::string flipByte(const std::string& tokenBase64, long offset) {
    std::string der;
    EXPECT_TRUE(ContentCoding::decodeBase64(tokenBase64, der));
    der[static_cast<size_t>(offset < 0 ? static_cast<long>(der.size()) + offset : offset)] ^= 0x01;
    std::string out;
    ContentCoding::encodeBase64(der.data(), der.size(), out);
    return out;
}

class TimeStampVerification : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        s_lab = std::make_unique<TimestampLab>();
        for (const char* name : {"tsa", "tsa2", "twin"})
            s_tsas.emplace_back(std::make_unique<LoopbackTsa>(s_lab->identity(name), s_lab->dir()));
    }
    static void TearDownTestSuite() {
        s_tsas.clear();
        s_lab.reset();
    }

    // A token over the bytes from the TSA of that index (0 tsa, 1 tsa2,
    // 2 twin), as base64.
    static std::string tokenOver(const std::string& bytes, size_t tsa = 0) {
        ClsJsonObject options;
        options.updateString("TsaUrl", s_tsas[tsa]->url());
        _clsCades cades;
        DataBuffer data, token;
        data.append(bytes);
        LogBase log;
        EXPECT_TRUE(CmsSignedData::getTimestampToken(options, data, cades, token, log)) << log.renderText();
        StringBuffer b64;
        token.encodeDB("base64", b64);
        return std::string(b64.view());
    }

    static std::unique_ptr<TimestampLab> s_lab;
    static std::vector<std::unique_ptr<LoopbackTsa>> s_tsas;
};

std::unique_ptr<TimestampLab> TimeStampVerification::s_lab;
std::vector<std::unique_ptr<LoopbackTsa>> TimeStampVerification::s_tsas;

TEST_F(TimeStampVerification, TokenOverTheCanonicalSignatureValue) {
    {
        const std::string doc = stampedDocument("QUJD", tokenOver(exclusiveForm("QUJD")));
        LogBase log;
        EXPECT_TRUE(verifyTimeStamp(doc, log)) << log.renderText();
        EXPECT_FALSE(logHas(log, LogBase::Kind::Data, "computed_hash_with_CRLF"));
    }
    {
        const std::string inclusiveToken = tokenOver(inclusiveForm("QUJD"));
        LogBase log;
        EXPECT_TRUE(verifyTimeStamp(stampedDocument("QUJD", inclusiveToken, kInclusive), log)) << log.renderText();
        LogBase wrongMethod;
        EXPECT_FALSE(verifyTimeStamp(stampedDocument("QUJD", inclusiveToken, kExclusive), wrongMethod));
        EXPECT_TRUE(logHas(wrongMethod, LogBase::Kind::Error, "Computed hash not equal to the expected hash."));
    }
    {
        const std::string lines = "QUJD\nREVG\nR0hJ";
        std::string crlf = exclusiveForm(lines);
        for (size_t p = 0; (p = crlf.find('\n', p)) != std::string::npos; p += 2)
            crlf.insert(p, "\r");
        LogBase log;
        EXPECT_TRUE(verifyTimeStamp(stampedDocument("QUJD\r\nREVG\r\nR0hJ", tokenOver(crlf)), log)) << log.renderText();
        EXPECT_TRUE(logHas(log, LogBase::Kind::Data, "computed_hash_with_CRLF"));
    }
    {
        LogBase log;
        EXPECT_FALSE(verifyTimeStamp(stampedDocument("QUJD", tokenOver(exclusiveForm("WFla"))), log));
        EXPECT_TRUE(logHas(log, LogBase::Kind::Error, "Computed hash not equal to the expected hash."));
    }
}

TEST_F(TimeStampVerification, TokenAndAuthorityChecks) {
    {
        const std::string token = tokenOver(exclusiveForm("QUJD"));
        std::string der;
        ASSERT_TRUE(ContentCoding::decodeBase64(token, der));
        // Near the end: the signature value. The TSA's name first occurs in the
        // TSTInfo, which comes before the certificates.
        const size_t tsaName = der.find("Loopback TSA");
        ASSERT_NE(tsaName, std::string::npos);
        for (long offset : {-5L, static_cast<long>(tsaName)}) {
            LogBase log;
            EXPECT_FALSE(verifyTimeStamp(stampedDocument("QUJD", flipByte(token, offset)), log)) << offset;
            EXPECT_TRUE(logHas(log, LogBase::Kind::Error, "Verification of encapsulated timestamp failed."))
                << log.renderText();
            EXPECT_FALSE(logHas(log, LogBase::Kind::Data, "computed_hash"));
        }
    }
    {
        const std::string doc = stampedDocument("QUJD", tokenOver(exclusiveForm("QUJD"), 1));
        LogBase signatureOnly;
        EXPECT_TRUE(verifyTimeStamp(doc, signatureOnly)) << signatureOnly.renderText();
        LogBase chained;
        EXPECT_FALSE(verifyTimeStamp(doc, chained, kValidateChain, s_lab->cert("ca")));
        EXPECT_TRUE(logHas(chained, LogBase::Kind::Error, "Verification of encapsulated timestamp failed."));
        LogBase noAnchors;
        EXPECT_FALSE(
            verifyTimeStamp(stampedDocument("QUJD", tokenOver(exclusiveForm("QUJD"))), noAnchors, kValidateChain));
    }
    {
        // The twin shares the TSA's issuer and serial number: with the TSA's
        // certificate in the store, the twin's signature is checked against it.
        LogBase log;
        EXPECT_FALSE(
            verifyTimeStamp(stampedDocument("QUJD", tokenOver(exclusiveForm("QUJD"), 2)), log, "", s_lab->cert("tsa")));
        EXPECT_TRUE(logHas(log, LogBase::Kind::Error, "Verification of encapsulated timestamp failed."))
            << log.renderText();
    }
    {
        LogBase log;
        EXPECT_FALSE(
            verifyTimeStamp(stampedDocument("QUJD", tokenOver(exclusiveForm("QUJD"))), log, "ValidateTsaChain"));
        EXPECT_TRUE(logHas(log, LogBase::Kind::Error, "The CMS options are not a JSON object."));
    }
}

TEST_F(TimeStampVerification, WhatTheTextLacksDecidesTheOutcome) {
    const std::string token = tokenOver(exclusiveForm("QUJD"));
    std::string noId = stampedDocument("QUJD", token);
    noId.replace(noId.find(" Id=\"v\""), 7, "");
    std::string singleQuoted = stampedDocument("QUJD", token);
    singleQuoted.replace(singleQuoted.find("Id=\"v\""), 6, "Id='v'");
    struct Case {
        std::string doc;
        bool result;
        std::string error;
    } cases[] = {
        {noId, false, "Failed to find SignatureValue Id"},
        {singleQuoted, false, "Expected open double quote"},
        {stampedDocument("QUJD", ""), false, "Failed to parse ASN.1 of encapsulated timestamp."},
        {"<ds:Signature xmlns:ds=\"http://www.w3.org/2000/09/xmldsig#\"><ds:SignedInfo><ds:Reference>"
         "<ds:DigestValue>QUJD</ds:DigestValue></ds:Reference></ds:SignedInfo>"
         "<ds:SignatureValue Id=\"v\">QUJD</ds:SignatureValue></ds:Signature>",
         true, ""},
    };
    for (const Case& c : cases) {
        LogBase log;
        EXPECT_EQ(verifyTimeStamp(c.doc, log), c.result) << c.doc;
        if (!c.error.empty()) {
            EXPECT_TRUE(logHas(log, LogBase::Kind::Error, c.error)) << log.renderText();
        }
    }
}

TEST(TagContentCapture, ReadsADoubleQuotedAttributeHoweverTheTagIsLaidOut) {
    std::unique_ptr<ClsXmlDSig> dsig(ClsXmlDSig::createNewCls());
    LogBase log;
    StringBuffer out;
    StringBuffer spread("<ds:SignatureValue\n\tId =  \"v-1\"\r\n>AA==</ds:SignatureValue>");
    EXPECT_TRUE(dsig->captureUniqueAttrContent("SignatureValue", "Id", spread, out, log));
    EXPECT_EQ(out.view(), "v-1");
    StringBuffer unterminated("<SignatureValue Id=\"v-1>AA==</SignatureValue>");
    EXPECT_FALSE(dsig->captureUniqueAttrContent("SignatureValue", "Id", unterminated, out, log));
    EXPECT_EQ(log.firstError(), "Expected end double quote");
    EXPECT_FALSE(dsig->captureUniqueAttrContent("SignatureValue", nullptr, spread, out, log));
}

TEST(HasEncapsulatedTimeStamp, LooksOnlyInsideTheSelectedSignature) {
    std::unique_ptr<ClsXmlDSig> dsig(ClsXmlDSig::createNewCls());
    EXPECT_FALSE(dsig->HasEncapsulatedTimeStamp());
    EXPECT_EQ(dsig->m_log.firstError(), "No signature at the selector index.");

    const std::string sig = "<ds:Signature xmlns:ds=\"http://www.w3.org/2000/09/xmldsig#\"><ds:SignedInfo/>"
                            "<ds:SignatureValue>AA==</ds:SignatureValue>";
    XString xml("<r>" + sig + "</ds:Signature>" + sig +
                "<ds:Object><x:EncapsulatedTimeStamp xmlns:x=\"urn:x\"/></ds:Object></ds:Signature></r>");
    ASSERT_TRUE(dsig->LoadSignature(xml));
    EXPECT_FALSE(dsig->HasEncapsulatedTimeStamp());
    EXPECT_EQ(dsig->m_log.firstError(), "No EncapsulatedTimestamp.");
    dsig->put_Selector(1);
    EXPECT_TRUE(dsig->HasEncapsulatedTimeStamp());
}

} // namespace
