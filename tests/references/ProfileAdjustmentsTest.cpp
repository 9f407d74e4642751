#include "verifier/ClsXmlDSig.h"
#include "verifier/DSigReference.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// Exposes the state that the adjustments leave behind.
class Verifier : public ClsXmlDSig {
public:
    const StringBuffer& siiDteXml() const { return m_siiDteXml; }
    uint32_t siiDteOffset() const { return m_siiDteOffset; }
};

std::string extractDte(Verifier& v, const std::string& xml, const char* id) {
    StringBuffer text(xml);
    LogNull log;
    v.extract_sii_cl_dte(text, id, true, log);
    return std::string(text.view());
}

TEST(SiiDteExtraction, LeavesTheTextWholeWhenTheShapeDiffers) {
    Verifier v;
    const std::string singleQuoted = "<E><DTE v=\"1\"><Documento ID='F1'/></DTE></E>";
    EXPECT_EQ(extractDte(v, singleQuoted, "F1"), singleQuoted);
    const std::string commentBetween = "<E><DTE v=\"1\"><!-- c --><Documento ID=\"F1\"/></DTE></E>";
    EXPECT_EQ(extractDte(v, commentBetween, "F1"), commentBetween);
    const std::string atStart = "<DTE v=\"1\"><Documento ID=\"F1\"/></DTE>";
    EXPECT_EQ(extractDte(v, atStart, "F1"), atStart);
    const std::string noEnd = "<E><DTE v=\"1\"><Documento ID=\"F1\"/></E>";
    EXPECT_EQ(extractDte(v, noEnd, "F1"), noEnd);
}

TEST(SwiftLauRemoval, RemovesTheLauElementUnlessItStartsTheText) {
    Verifier v;
    StringBuffer uri;
    DSigReference ref;
    LogNull log;
    StringBuffer msg("<Saa xmlns=\"urn:swift:saa:xsd:saa.2.0\"><Body/><LAU><x/></LAU></Saa>");
    v.postProcessTransformedXml(msg, log);
    EXPECT_EQ(msg.view(), "<Saa xmlns=\"urn:swift:saa:xsd:saa.2.0\"><Body/></Saa>");

    StringBuffer onlyLau("<LAU xmlns=\"urn:swift:saa:xsd:saa.2.0\"></LAU>");
    v.postProcessTransformedXml(onlyLau, log);
    EXPECT_EQ(onlyLau.view(), "<LAU xmlns=\"urn:swift:saa:xsd:saa.2.0\"></LAU>");
}

TEST(ZatcaInvoiceReduction, KeepsTheInvoiceWithoutExtensionsQrAndSignature) {
    Verifier v;
    LogNull log;
    StringBuffer xml(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<Invoice xmlns=\"urn:inv\"\r\n\t  xmlns:cbc=\"urn:cbc\">"
        "<ext:UBLExtensions><x/></ext:UBLExtensions>"
        "<cac:AdditionalDocumentReference><cbc:ID>ICV</cbc:ID></cac:AdditionalDocumentReference>"
        "<cac:AdditionalDocumentReference><cbc:ID>QR</cbc:ID></cac:AdditionalDocumentReference>"
        "<cac:Signature><cbc:ID>s</cbc:ID></cac:Signature><cbc:Note>n</cbc:Note></Invoice>\r\n");
    EXPECT_TRUE(v.zatcaTransformInvoice(xml, log));
    EXPECT_EQ(xml.view(), "<Invoice xmlns=\"urn:inv\" xmlns:cbc=\"urn:cbc\">"
                          "<cac:AdditionalDocumentReference><cbc:ID>ICV</cbc:ID></cac:AdditionalDocumentReference>"
                          "<cbc:Note>n</cbc:Note></Invoice>");
}

} // namespace
