#include "companion/log/LogBase.h"
#include "verifier/ClsXmlDSig.h"
#include "verifier/DSigReference.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

const std::string kSigned = "<Invoice><ID>7</ID>"
                            "<ds:Signature xmlns:ds=\"http://www.w3.org/2000/09/xmldsig#\" ID_ATTR>"
                            "<ds:SignedInfo><ds:Reference URI=\"\"><ds:DigestValue>\n  QUJD\n</ds:DigestValue>"
                            "</ds:Reference></ds:SignedInfo><ds:SignatureValue>AA==</ds:SignatureValue>"
                            "</ds:Signature></Invoice>";

std::string document(const std::string& idAttr) {
    std::string xml = kSigned;
    xml.replace(xml.find("ID_ATTR"), 7, idAttr);
    return xml;
}

// Loads the document, then applies the transform to its own text.
std::string enveloped(const std::string& xml, const char* options, LogBase& log, const char* digest = "QUJD") {
    std::unique_ptr<ClsXmlDSig> dsig(ClsXmlDSig::createNewCls());
    dsig->put_UncommonOptions(XString(options));
    XString text(xml);
    EXPECT_TRUE(dsig->LoadSignature(text));
    StringBuffer out(xml);
    DSigReference ref;
    ref.m_digestValue.setString(digest);
    log.enterContext("test");
    EXPECT_TRUE(dsig->transformEnvelopedSignature(out, ref, log));
    log.leaveContext();
    return std::string(out.view());
}

// The signature is found by its Id or, without one, by its digest; ZATCA
// keeps the one with Id "signature".
TEST(EnvelopedSignatureTransform, RemovesTheSignatureItFinds) {
    LogBase log;
    const std::string removed = "<Invoice><ID>7</ID></Invoice>";
    EXPECT_EQ(enveloped(document("Id=\"sig1\""), "", log), removed);
    EXPECT_EQ(enveloped(document(""), "", log), removed);
    const std::string xml = document("");
    EXPECT_EQ(enveloped(xml, "", log, "WFla"), xml);
    EXPECT_EQ(log.firstError(), "Unable to find Signature by digest value for enveloped-signature..");

    const std::string zatca = document("Id=\"signature\"");
    EXPECT_EQ(enveloped(zatca, "ZATCA", log), zatca);
    EXPECT_EQ(enveloped(document("Id=\"Signature\""), "ZATCA", log), removed);
    EXPECT_EQ(enveloped(zatca, "", log), removed);
}

} // namespace
