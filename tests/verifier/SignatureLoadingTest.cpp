#include "TestSupport.h"
#include "companion/base/ClsBinData.h"
#include "verifier/ClsXmlDSig.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

std::string signedDocument(const std::string& body) {
    return "<doc xmlns:ds=\"http://www.w3.org/2000/09/xmldsig#\">" + body +
           "<ds:Signature><ds:SignedInfo/><ds:SignatureValue>AA==</ds:SignatureValue></ds:Signature></doc>";
}

ClsXmlDSig::ProfileFlags profileOf(const std::string& xml) {
    std::unique_ptr<ClsXmlDSig> dsig(ClsXmlDSig::createNewCls());
    XString text(xml);
    EXPECT_TRUE(dsig->LoadSignature(text)) << dsig->lastErrorText();
    return dsig->profileFlags();
}

TEST(ProfileDetection, FirstMatchingFamilyWins) {
    auto f = profileOf(signedDocument("<a>http://www.sii.cl/SiiDte</a><b>urn:sunat:names:specification:ubl:peru</b>"));
    EXPECT_TRUE(f.isSiiCl);
    EXPECT_TRUE(f.noSortBugRetry);
    EXPECT_FALSE(f.isSunat);
    EXPECT_EQ(f.specialProfile, 0u);

    auto hl7 = profileOf(signedDocument("<a>urn:hl7-org:v3</a><b>http://csioz.gov.pl/p1</b>"));
    EXPECT_TRUE(hl7.dupC14nSortBug);
    EXPECT_FALSE(hl7.isCsioz);
}

TEST(ProfileDetection, EachFamilyMarkerSetsItsFlags) {
    auto sunat = profileOf(signedDocument("<a>urn:sunat:names:specification:ubl:peru:schema</a>"));
    EXPECT_TRUE(sunat.isSunat);
    EXPECT_EQ(sunat.specialProfile, 3u);

    for (const char* marker : {"https://e-deklaracje.mf.gov.pl/", "http://www.mf.gov.pl", "http://www.zus.pl/2013",
                               "urn:hl7-org:v3", "fascicolosanitario.gov.it", "http://crd.gov.pl/wzor"}) {
        auto f = profileOf(signedDocument(std::string("<a>") + marker + "</a>"));
        EXPECT_TRUE(f.dupC14nSortBug) << marker;
        EXPECT_FALSE(f.isCsioz) << marker;
    }

    auto csioz = profileOf(signedDocument("<a>http://csioz.gov.pl/p1/wspolne</a>"));
    EXPECT_TRUE(csioz.dupC14nSortBug);
    EXPECT_TRUE(csioz.isCsioz);

    EXPECT_TRUE(profileOf(signedDocument("<a>urn:cma:stp:xsd:stp.1.0</a>")).isCmaStp);
    EXPECT_TRUE(profileOf(signedDocument("<doda>siat.sat.gob.mx</doda>")).isDoda);
}

TEST(ProfileDetection, IncompleteMarkersSetNothing) {
    auto mexicanHostOnly = profileOf(signedDocument("<a>https://siat.sat.gob.mx/</a>"));
    EXPECT_FALSE(mexicanHostOnly.isDoda);
    EXPECT_FALSE(mexicanHostOnly.dupC14nSortBug);

    auto noBlank = profileOf("<SignedDoc>SK-XML</SignedDoc>");
    EXPECT_FALSE(noBlank.isSignedDocSkXml);
    auto skXml = profileOf("<SignedDoc format=\"SK-XML\"/>");
    EXPECT_TRUE(skXml.isSignedDocSkXml);
}

TEST(ProfileDetection, RealSignerFamiliesAreRecognised) {
    namespace fs = std::filesystem;
    const fs::path real = test_support::corpusDir() / "real";
    if (!fs::exists(real))
        GTEST_SKIP() << "no real-signer corpus";
    int checked = 0;
    for (const auto& entry : fs::directory_iterator(real / "sii")) {
        if (entry.path().extension() != ".xml")
            continue;
        std::unique_ptr<ClsXmlDSig> dsig(ClsXmlDSig::createNewCls());
        ClsBinData bd;
        ASSERT_TRUE(bd.LoadFile(XString(entry.path().string())));
        ASSERT_TRUE(dsig->LoadSignatureBd(bd)) << entry.path();
        const bool mentionsSii = test_support::readFile(entry.path()).find("www.sii.cl") != std::string::npos;
        EXPECT_EQ(dsig->profileFlags().isSiiCl, mentionsSii) << entry.path();
        checked += mentionsSii;
    }
    EXPECT_GT(checked, 0);

    std::unique_ptr<ClsXmlDSig> dsig(ClsXmlDSig::createNewCls());
    ClsBinData skxml;
    ASSERT_TRUE(skxml.LoadFile(XString((real / "skxml" / "digidoc4j-SK-XML1.0.ddoc").string())));
    ASSERT_TRUE(dsig->LoadSignatureBd(skxml));
    EXPECT_TRUE(dsig->profileFlags().isSignedDocSkXml);
    EXPECT_GE(dsig->get_NumSignatures(), 1);
}

TEST(SignatureLoading, ByteLoadKeepsTheProfileOptionsOfTheLastStringLoad) {
    std::unique_ptr<ClsXmlDSig> dsig(ClsXmlDSig::createNewCls());
    dsig->put_UncommonOptions(XString("ZATCA"));
    XString text(signedDocument(""));
    ASSERT_TRUE(dsig->LoadSignature(text));
    EXPECT_TRUE(dsig->profileFlags().isZatca);
    EXPECT_FALSE(dsig->profileFlags().noSortBugRetry);

    dsig->put_UncommonOptions(XString(""));
    ClsBinData bd;
    bd.m_data.append(signedDocument(""));
    ASSERT_TRUE(dsig->LoadSignatureBd(bd));
    EXPECT_TRUE(dsig->profileFlags().isZatca);
    // The string load re-reads the options.
    ASSERT_TRUE(dsig->LoadSignature(text));
    EXPECT_FALSE(dsig->profileFlags().isZatca);
}

TEST(SignatureLoading, MalformedDocumentLeavesNoSignatures) {
    std::unique_ptr<ClsXmlDSig> dsig(ClsXmlDSig::createNewCls());
    XString good(signedDocument(""));
    ASSERT_TRUE(dsig->LoadSignature(good));
    ASSERT_EQ(dsig->get_NumSignatures(), 1);

    XString truncated(signedDocument("").substr(0, 40));
    EXPECT_FALSE(dsig->LoadSignature(truncated));
    EXPECT_EQ(dsig->get_NumSignatures(), 0);
    EXPECT_EQ(dsig->get_NumReferences(), 0);
    EXPECT_NE(dsig->lastErrorText().find("line"), std::string::npos) << dsig->lastErrorText();
}

TEST(SignatureLoading, DocumentWithoutSignatureLoads) {
    std::unique_ptr<ClsXmlDSig> dsig(ClsXmlDSig::createNewCls());
    XString text("<invoice><cac:Signature xmlns:cac=\"urn:cac\"><id>1</id></cac:Signature></invoice>");
    EXPECT_TRUE(dsig->LoadSignature(text));
    EXPECT_EQ(dsig->get_NumSignatures(), 0);
}

TEST(SignatureLoading, StringBuilderAndBytesLoadTheSameDocument) {
    const std::string xml = signedDocument("<p>caf\xC3\xA9</p>");
    std::unique_ptr<ClsXmlDSig> fromSb(ClsXmlDSig::createNewCls());
    ClsStringBuilder sb;
    sb.m_str.append(xml);
    ASSERT_TRUE(fromSb->LoadSignatureSb(sb));

    std::unique_ptr<ClsXmlDSig> fromUtf16(ClsXmlDSig::createNewCls());
    ClsBinData bd;
    bd.m_data.append("\xFF\xFE", 2);
    for (unsigned char c : std::string("<doc xmlns:ds=\"http://www.w3.org/2000/09/xmldsig#\"><ds:Signature>"
                                       "<ds:SignedInfo/><ds:SignatureValue>AA==</ds:SignatureValue>"
                                       "</ds:Signature></doc>")) {
        bd.m_data.appendChar(c);
        bd.m_data.appendChar(0);
    }
    ASSERT_TRUE(fromUtf16->LoadSignatureBd(bd)) << fromUtf16->lastErrorText();
    EXPECT_EQ(fromSb->get_NumSignatures(), 1);
    EXPECT_EQ(fromUtf16->get_NumSignatures(), 1);
}

} // namespace
