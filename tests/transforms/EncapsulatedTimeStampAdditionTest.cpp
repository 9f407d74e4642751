#include "support/TimestampTestSupport.h"

#include "verifier/ClsXmlDSig.h"

#include <gtest/gtest.h>

#include <memory>
#include <regex>

namespace {

using namespace timestamp_test;

const std::string kId = R"(\d{4}-\d{4}-\d{4}-\d{4})";
const std::string kStamp = "<xades:SignatureTimeStamp Id=\"signature-timestamp-" + kId +
                           "\"><ds:CanonicalizationMethod Algorithm=\"http://www\\.w3\\.org/2001/10/xml-exc-c14n#\"/>"
                           "<xades:EncapsulatedTimeStamp Encoding=\"http://uri\\.etsi\\.org/01903/v1\\.2\\.2#DER\">"
                           "[A-Za-z0-9+/=]*</xades:EncapsulatedTimeStamp></xades:SignatureTimeStamp>";
const std::string kUsp = "<xades:UnsignedSignatureProperties>" + kStamp + "</xades:UnsignedSignatureProperties>";
const std::string kUp = "<xades:UnsignedProperties>" + kUsp + "</xades:UnsignedProperties>";
const std::string kXadesNs = " xmlns:xades=\"http://uri\\.etsi\\.org/01903/v1\\.3\\.2#\"";

// The output is the input with one block inserted right after `marker`;
// the block matches the pattern.
void expectInsertedAfter(const std::string& before, const std::string& after, const std::string& marker,
                         const std::string& blockPattern) {
    const size_t markerAt = before.find(marker);
    ASSERT_NE(markerAt, std::string::npos) << marker;
    const size_t at = markerAt + marker.size();
    ASSERT_GT(after.size(), before.size());
    const size_t blockLen = after.size() - before.size();
    EXPECT_EQ(after.substr(0, at), before.substr(0, at));
    EXPECT_EQ(after.substr(at + blockLen), before.substr(at));
    const std::string block = after.substr(at, blockLen);
    EXPECT_TRUE(std::regex_match(block, std::regex(blockPattern))) << block;
}

class TimeStampAddition : public WithTimestampAuthority {
protected:
    static std::string unreachableUrl() { return "http://127.0.0.1:" + std::to_string(LoopbackTsa::closedPort()); }

    // Signs the template, timestamps it through the loopback TSA and checks
    // what must hold whatever the case: the signature still verifies with
    // xmlsec1 and the timestamp with the verifier.
    std::string signAndStamp(const char* xmlTemplate, std::string& signedXml) {
        signedXml = s_lab->sign(xmlTemplate);
        const Stamped out = addTimeStamp(signedXml, tsa().url());
        EXPECT_FALSE(out.text.empty()) << out.failure;
        EXPECT_TRUE(s_lab->xmlsecVerifies(out.text));
        const StampCheck report = verifyStamped(out.text, R"({"ValidateTsaChain": true})", s_lab->cert("ca"));
        EXPECT_TRUE(timestampVerified(report)) << report.reason;
        return out.text;
    }
};

TEST_F(TimeStampAddition, WhereTheStampGoes) {
    const std::string object = "<ds:Object Id=\"signature-object-" + kId + "\"><xades:QualifyingProperties";
    const struct {
        const char* xmlTemplate;
        std::string marker, pattern;
    } signedCases[] = {
        {kXadesBesTemplate, "</xades:SignedProperties>", kUp},
        {kXadesUnsignedTemplate, "<xades:UnsignedSignatureProperties>", kStamp},
        // No Signature Id: no Target; the signature's last child is KeyInfo.
        {kPlainTemplate, "</ds:KeyInfo>", object + kXadesNs + ">" + kUp + "</xades:QualifyingProperties></ds:Object>"},
        {kXadesNsOnSignatureTemplate, "</ds:SignatureValue>",
         object + " Target=\"#sig-4\">" + kUp + "</xades:QualifyingProperties></ds:Object>"},
    };
    for (const auto& c : signedCases) {
        std::string before;
        const std::string after = signAndStamp(c.xmlTemplate, before);
        expectInsertedAfter(before, after, c.marker, c.pattern);
        EXPECT_NE(tokenOf(after), "");
    }
    {
        // The cases that signed templates do not reach; no signature check is
        // needed to see where the block goes, and the TSA is not reachable.
        const std::string head =
            "<r><ds:Signature xmlns:ds=\"http://www.w3.org/2000/09/xmldsig#\" Id=\"s\"><ds:SignedInfo>"
            "<ds:Reference URI=\"#o1\"><ds:DigestValue>QUJD</ds:DigestValue></ds:Reference>"
            "</ds:SignedInfo><ds:SignatureValue Id=\"v\">AA==</ds:SignatureValue>";
        const std::string qp = "<xades:QualifyingProperties xmlns:xades=\"http://uri.etsi.org/01903/v1.3.2#\">";
        struct Case {
            std::string body, marker, pattern;
        } cases[] = {
            {"<ds:Object>" + qp +
                 "<xades:UnsignedProperties></xades:UnsignedProperties></xades:QualifyingProperties>"
                 "</ds:Object>",
             "<xades:UnsignedProperties>", kUsp},
            {"<ds:Object>" + qp + "</xades:QualifyingProperties></ds:Object>", qp, kUp},
            // The Object that a Reference names is signed and left alone.
            {"<ds:Object Id=\"o1\">x</ds:Object><ds:Object Id=\"o2\"></ds:Object>", "<ds:Object Id=\"o2\">",
             "<xades:QualifyingProperties" + kXadesNs + " Target=\"#s\">" + kUp + "</xades:QualifyingProperties>"},
            {"<ds:Object Id=\"o1\">x</ds:Object>", "<ds:Object Id=\"o1\">x</ds:Object>",
             "<ds:Object Id=\"signature-object-" + kId + "\"><xades:QualifyingProperties" + kXadesNs +
                 " Target=\"#s\">" + kUp + "</xades:QualifyingProperties></ds:Object>"},
        };
        for (const Case& c : cases) {
            const std::string before = head + c.body + "</ds:Signature></r>";
            expectInsertedAfter(before, addTimeStamp(before, unreachableUrl()).text, c.marker, c.pattern);
        }
    }
    {
        // A signature without the ds prefix: the block declares the one it
        // uses, so that namespace-aware readers take the output.
        const std::string before = "<r><Signature xmlns=\"http://www.w3.org/2000/09/xmldsig#\" Id=\"s\"><SignedInfo>"
                                   "<Reference URI=\"\"><DigestValue>QUJD</DigestValue></Reference></SignedInfo>"
                                   "<SignatureValue Id=\"v\">AA==</SignatureValue></Signature></r>";
        const std::string after = addTimeStamp(before, unreachableUrl()).text;
        EXPECT_NE(after.find("<ds:CanonicalizationMethod xmlns:ds=\"http://www.w3.org/2000/09/xmldsig#\""),
                  std::string::npos)
            << after;
        const test_support::TempDir dir;
        test_support::writeFile(dir.path() / "out.xml", after);
        // xmllint reports a namespace error on stderr with exit code 0.
        const auto lint = test_support::runProcess("xmllint --noout " + (dir.path() / "out.xml").string());
        EXPECT_EQ(lint.exitCode, 0);
        EXPECT_EQ(lint.err, "");
    }
}

TEST_F(TimeStampAddition, FailuresAndRefusals) {
    {
        const std::string before = s_lab->sign(kXadesBesTemplate);
        const Stamped stamped = addTimeStamp(before, unreachableUrl());
        expectInsertedAfter(before, stamped.text, "</xades:SignedProperties>", kUp);
        EXPECT_EQ(tokenOf(stamped.text), "");
        EXPECT_EQ(stamped.failure, "");
        EXPECT_EQ(stamped.requestError.rfind("HTTP POST to http://127.0.0.1:", 0), 0u) << stamped.requestError;
        EXPECT_EQ(verifyStamped(stamped.text).stage, VerificationStage::Timestamp);
    }
    {
        const std::string sig =
            "<ds:Signature xmlns:ds=\"http://www.w3.org/2000/09/xmldsig#\" Id=\"s\"><ds:SignedInfo/>";
        struct Case {
            std::string xml, error;
        } cases[] = {
            {"<r/>", "No signature at the selector."},
            {sig + "<ds:SignatureValue>AA==</ds:SignatureValue></ds:Signature>",
             "No SignatureValue Id attribute found."},
            {sig + "</ds:Signature>", "No SignatureValue found."},
            {"<ds:Signature xmlns:ds=\"http://www.w3.org/2000/09/xmldsig#\"><ds:SignedInfo/>"
             "<ds:SignatureValue Id=\"v\">AA==</ds:SignatureValue></ds:Signature>",
             "No Reference at index 0"},
        };
        // lastFailure() names the first error, which is the presence check's
        // "No EncapsulatedTimestamp." rather than these causes: until that
        // check no longer counts as the failure, only a reason is required.
        for (const Case& c : cases) {
            const Stamped stamped = addTimeStamp(c.xml, unreachableUrl());
            EXPECT_EQ(stamped.text, "") << c.xml;
            EXPECT_NE(stamped.failure, "") << c.error;
        }
    }
}

} // namespace
