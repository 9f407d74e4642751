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

TEST(SiiDteExtraction, CutsTheDteHoldingTheReferencedDocumento) {
    Verifier v;
    const std::string xml = "<EnvioDTE><DTE version=\"1.0\">\n<Documento ID=\"F1\"><x/></Documento></DTE>\n"
                            "<DTE version=\"1.0\"><Documento ID=\"F2\"/></DTE></EnvioDTE>";
    const std::string dte = extractDte(v, xml, "F1");
    EXPECT_EQ(dte, "<DTE version=\"1.0\">\n<Documento ID=\"F1\"><x/></Documento></DTE>\n");
    EXPECT_EQ(v.siiDteXml().view(), dte);
    EXPECT_EQ(v.siiDteOffset(), 10u);
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
    v.postProcessTransformedXml(uri, ref, msg, log);
    EXPECT_EQ(msg.view(), "<Saa xmlns=\"urn:swift:saa:xsd:saa.2.0\"><Body/></Saa>");

    StringBuffer onlyLau("<LAU xmlns=\"urn:swift:saa:xsd:saa.2.0\"></LAU>");
    v.postProcessTransformedXml(uri, ref, onlyLau, log);
    EXPECT_EQ(onlyLau.view(), "<LAU xmlns=\"urn:swift:saa:xsd:saa.2.0\"></LAU>");
}

TEST(XmlChunkRemoval, RemovesOnlyTheChunkHoldingTheText) {
    Verifier v;
    LogNull log;
    StringBuffer xml("<r><a><id>1</id></a><a><id>QR</id></a><a><id>3</id></a></r>");
    EXPECT_TRUE(v.removeXmlChunkContaining("<a>", "</a>", "<id>QR</id>", xml, log));
    EXPECT_EQ(xml.view(), "<r><a><id>1</id></a><a><id>3</id></a></r>");
    EXPECT_FALSE(v.removeXmlChunkContaining("<a>", "</a>", "<id>QR</id>", xml, log));
    EXPECT_TRUE(v.removeXmlChunk("<a>", "</a>", xml, log));
    EXPECT_EQ(xml.view(), "<r><a><id>3</id></a></r>");
    EXPECT_FALSE(v.removeXmlChunk("<b>", "</b>", xml, log));
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

TEST(EbXmlFragmentRemoval, RemovesElementsForTheNextActor) {
    DSigReference ref;
    LogNull log;
    StringBuffer xml(
        "<Envelope><Header><eb:Via SOAP:actor=\"urn:oasis:names:tc:ebxml-msg:actor:nextMSH\"><x/></eb:Via>"
        "<eb:Ack SOAP:actor=\"http://schemas.xmlsoap.org/soap/actor/next\"/></eb:Ack><keep/></Header></Envelope>");
    ref.removeEbXmlFragments(xml, log);
    EXPECT_EQ(xml.view(), "<Envelope><Header><keep/></Header></Envelope>");
}

TEST(EbXmlFragmentRemoval, StopsAfterThirteenRemovals) {
    DSigReference ref;
    LogNull log;
    std::string body;
    for (int i = 0; i < 15; ++i)
        body += "<v SOAP:actor=\"urn:oasis:names:tc:ebxml-msg:actor:nextMSH\"></v>";
    StringBuffer xml("<H>" + body + "</H>");
    ref.removeEbXmlFragments(xml, log);
    size_t left = 0;
    for (size_t p = 0; (p = xml.view().find("<v ", p)) != std::string_view::npos; ++p)
        ++left;
    EXPECT_EQ(left, 2u);
}

} // namespace
