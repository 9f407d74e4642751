#include "support/Signing.h"
#include "support/TimestampTestSupport.h"

#include "companion/log/LogBase.h"
#include "companion/text/ContentCoding.h"
#include "verifier/ClsXmlDSig.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using namespace timestamp_test;
using test_support::replaced;

constexpr const char* kExclusive = "http://www.w3.org/2001/10/xml-exc-c14n#";
constexpr const char* kInclusive = "http://www.w3.org/TR/2001/REC-xml-c14n-20010315";
constexpr const char* kValidateChain = R"({"ValidateTsaChain": true})";

// A signature whose SignatureValue (Id "v") is the given text, stamped with
// the given token and canonicalization method. The root declares a
// namespace that only inclusive canonicalization carries into the element.
// Its SignedInfo has no CanonicalizationMethod: a run that gets past the
// timestamp ends there.
std::string stampedDocument(const std::string& signatureValue, const std::string& token,
                            const std::string& method = kExclusive) {
    return "<r xmlns:x=\"urn:x\"><ds:Signature xmlns:ds=\"http://www.w3.org/2000/09/xmldsig#\" Id=\"s\">"
           "<ds:SignedInfo><ds:Reference URI=\"\"><ds:DigestValue>QUJD</ds:DigestValue></ds:Reference>"
           "</ds:SignedInfo><ds:SignatureValue Id=\"v\">" +
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
    return test_support::base64Of(der);
}

class TimeStampVerification : public WithTimestampAuthority {};

// The token covers the SignatureValue element as the stated method
// canonicalizes it (with CRLF line ends as some signers hashed them); any
// other bytes fail the timestamp stage.
TEST_F(TimeStampVerification, TokenOverTheCanonicalSignatureValue) {
    const std::string inclusiveToken = tokenOver(inclusiveForm("QUJD"));
    std::string crlf = exclusiveForm("QUJD\nREVG\nR0hJ");
    for (size_t p = 0; (p = crlf.find('\n', p)) != std::string::npos; p += 2)
        crlf.insert(p, "\r");
    const struct {
        const char* what;
        std::string doc;
        bool verified;
    } cases[] = {
        {"exclusive", stampedDocument("QUJD", tokenOver(exclusiveForm("QUJD"))), true},
        {"inclusive", stampedDocument("QUJD", inclusiveToken, kInclusive), true},
        {"inclusive token, exclusive method", stampedDocument("QUJD", inclusiveToken, kExclusive), false},
        {"CRLF line ends", stampedDocument("QUJD\r\nREVG\r\nR0hJ", tokenOver(crlf)), true},
        {"another value", stampedDocument("QUJD", tokenOver(exclusiveForm("WFla"))), false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const StampCheck report = verifyStamped(c.doc);
        EXPECT_EQ(timestampVerified(report), c.verified) << report.reason;
        EXPECT_EQ(report.stage == VerificationStage::Timestamp, !c.verified);
    }
}

// A token whose signature or content was changed, one from another
// authority when the chain is checked, and one from a twin of the trusted
// authority (same issuer and serial, another key) all fail.
TEST_F(TimeStampVerification, TokenAndAuthorityChecks) {
    const std::string token = tokenOver(exclusiveForm("QUJD"));
    std::string der;
    ASSERT_TRUE(ContentCoding::decodeBase64(token, der));
    // Near the end: the signature value. The TSA's name first occurs in the
    // TSTInfo, which comes before the certificates.
    const size_t tsaName = der.find("Loopback TSA");
    ASSERT_NE(tsaName, std::string::npos);
    const std::string other = stampedDocument("QUJD", tokenOver(exclusiveForm("QUJD"), 1));
    const struct {
        const char* what;
        std::string doc, options;
        std::filesystem::path trusted;
        bool verified;
    } cases[] = {
        {"signature byte", stampedDocument("QUJD", flipByte(token, -5)), "", {}, false},
        {"TSTInfo byte", stampedDocument("QUJD", flipByte(token, static_cast<long>(tsaName))), "", {}, false},
        {"another authority, signature only", other, "", {}, true},
        {"another authority, chain checked", other, kValidateChain, s_lab->cert("ca"), false},
        {"chain checked without anchors", stampedDocument("QUJD", token), kValidateChain, {}, false},
        {"chain checked", stampedDocument("QUJD", token), kValidateChain, s_lab->cert("ca"), true},
        // Options that are no JSON object leave no timestamp verified.
        {"options that are no JSON", stampedDocument("QUJD", token), "ValidateTsaChain", {}, false},
        {"twin of the trusted authority", stampedDocument("QUJD", tokenOver(exclusiveForm("QUJD"), 2)), "",
         s_lab->cert("tsa"), false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const StampCheck report = verifyStamped(c.doc, c.options, c.trusted);
        EXPECT_EQ(timestampVerified(report), c.verified) << report.reason;
        EXPECT_EQ(report.stage == VerificationStage::Timestamp, !c.verified);
    }
}

// The SignatureValue's Id is read from the text: however the tag is laid
// out, but only double-quoted.
TEST_F(TimeStampVerification, WhatTheTextLacksDecidesTheOutcome) {
    const std::string token = tokenOver(exclusiveForm("QUJD"));
    const std::string doc = stampedDocument("QUJD", token);
    const struct {
        const char* what;
        std::string doc;
        bool verified;
    } cases[] = {
        {"no Id", replaced(doc, " Id=\"v\"", ""), false},
        {"single quotes", replaced(doc, "Id=\"v\"", "Id='v'"), false},
        {"spread tag", replaced(doc, "<ds:SignatureValue Id=\"v\">", "<ds:SignatureValue\n\tId =  \"v\"\r\n>"), true},
        {"no token", stampedDocument("QUJD", ""), false},
        {"no timestamp", replaced(doc, "<xades:EncapsulatedTimeStamp>" + token + "</xades:EncapsulatedTimeStamp>", ""),
         true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(timestampVerified(verifyStamped(c.doc)), c.verified);
    }
}

TEST(HasEncapsulatedTimeStamp, LooksOnlyInsideTheSelectedSignature) {
    ClsXmlDSig dsig;
    EXPECT_FALSE(dsig.HasEncapsulatedTimeStamp());
    const std::string sig = "<ds:Signature xmlns:ds=\"http://www.w3.org/2000/09/xmldsig#\"><ds:SignedInfo/>"
                            "<ds:SignatureValue>AA==</ds:SignatureValue>";
    XString xml("<r>" + sig + "</ds:Signature>" + sig +
                "<ds:Object><x:EncapsulatedTimeStamp xmlns:x=\"urn:x\"/></ds:Object></ds:Signature></r>");
    ASSERT_TRUE(dsig.LoadSignature(xml));
    EXPECT_FALSE(dsig.HasEncapsulatedTimeStamp());
    dsig.put_Selector(1);
    EXPECT_TRUE(dsig.HasEncapsulatedTimeStamp());
}

} // namespace
