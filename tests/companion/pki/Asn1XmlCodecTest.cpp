#include "support/Keys.h"

#include "companion/log/LogBase.h"
#include "companion/pki/Asn1XmlCodec.h"
#include "companion/text/DataBuffer.h"
#include "companion/text/RefCountedObject.h"
#include "companion/text/StringBuffer.h"
#include "companion/xml/ClsXml.h"

#include <gtest/gtest.h>

#include <string>

using test_support::bufferOf;
using test_support::fromHex;
using test_support::Workshop;

namespace {

std::string toXml(const DataBuffer& der, bool compact = true) {
    LogBase log;
    StringBuffer xml;
    EXPECT_TRUE(Asn1XmlCodec::derToXml(der, false, compact, xml, nullptr, log)) << log.renderText();
    return std::string(xml.view());
}

RefPtr<ClsXml> load(const std::string& xml, bool autoTrim) {
    LogBase log;
    RefPtr<ClsXml> root(ClsXml::createNewCls());
    EXPECT_TRUE(root->loadXml(std::string_view(xml), autoTrim, log)) << log.renderText() << xml;
    return root;
}

DataBuffer toDer(const ClsXml& node) {
    LogBase log;
    DataBuffer der;
    EXPECT_TRUE(Asn1XmlCodec::xmlToDer(node, der, log)) << log.renderText();
    return der;
}

// DER -> XML -> DER in every layout the callers use.
void expectRoundTrip(const DataBuffer& der) {
    for (const bool decl : {false, true}) {
        for (const bool compact : {false, true}) {
            LogBase log;
            StringBuffer xml;
            ASSERT_TRUE(Asn1XmlCodec::derToXml(der, decl, compact, xml, nullptr, log)) << log.renderText();
            EXPECT_TRUE(toDer(*load(std::string(xml.view()), !compact)).equals(der)) << xml.view();
        }
    }
}

TEST(Asn1XmlCodec, ValueFormsFromOpensslGenerator) {
    Workshop ws;
    test_support::writeFile(ws.dir() / "gen.cnf", "asn1=SEQUENCE:seq\n[seq]\n"
                                                  "i1=INTEGER:128\ni2=INTEGER:-1\nb=BOOLEAN:TRUE\nn=NULL\n"
                                                  "o=OID:1.2.840.113549.1.1.11\nu=UTF8:a&b<c>d\n"
                                                  "p=PRINTABLESTRING:Hello World\nbmp=FORMAT:UTF8,BMPSTRING:Grüße\n"
                                                  "bits=FORMAT:BITLIST,BITSTRING:1,3,5\n"
                                                  "oct=FORMAT:HEX,OCTETSTRING:DEADBEEF\nt=UTCTIME:250101120000Z\n"
                                                  "g=GENERALIZEDTIME:20250101120000Z\ne=ENUMERATED:3\n"
                                                  "c0=IMPLICIT:0,INTEGER:7\nc1=EXPLICIT:1,UTF8:x\n"
                                                  "ap=IMPLICIT:5A,OCTETSTRING:zz\npr=EXPLICIT:3P,NULL\n"
                                                  "s=SET:inner\n[inner]\nx=INTEGER:1\n");
    ws.openssl("asn1parse -genconf gen.cnf -noout -out gen.der");
    const DataBuffer der = bufferOf(test_support::readFile(ws.dir() / "gen.der"));
    expectRoundTrip(der);
    EXPECT_EQ(toXml(der), "<sequence><int>0080</int><int>FF</int><bool>FF</bool><null/>"
                          "<oid>1.2.840.113549.1.1.11</oid><utf8>a&amp;b&lt;c&gt;d</utf8>"
                          "<printable>Hello World</printable><bmp>Grüße</bmp><bits unused=\"2\">VA==</bits>"
                          "<octets>3q2+7w==</octets><utctime>250101120000Z</utctime>"
                          "<gentime>20250101120000Z</gentime><enumerated>03</enumerated>"
                          "<contextSpecific tag=\"0\" constructed=\"0\">07</contextSpecific>"
                          "<contextSpecific tag=\"1\" constructed=\"1\"><utf8>x</utf8></contextSpecific>"
                          "<application tag=\"5\" constructed=\"0\">7A7A</application>"
                          "<private tag=\"3\" constructed=\"1\"><null/></private>"
                          "<set><int>01</int></set></sequence>");
}

TEST(Asn1XmlCodec, UnrepresentableTextFallsBackToHex) {
    // IA5String " ab", UTF8String "a\rb", PrintableString "\xff", BMPString with a lone surrogate.
    const DataBuffer der = fromHex("3011"
                                   "1603206162"
                                   "0C03610D62"
                                   "1301FF"
                                   "1E02D800");
    expectRoundTrip(der);
    EXPECT_EQ(toXml(der), "<sequence><ia5 enc=\"hex\">206162</ia5><utf8 enc=\"hex\">610D62</utf8>"
                          "<printable enc=\"hex\">FF</printable><bmp enc=\"hex\">D800</bmp></sequence>");
}

TEST(Asn1XmlCodec, BerForms) {
    // Indefinite-length SEQUENCE, constructed OCTET STRING, high tag number, universal tag 14.
    const DataBuffer der = fromHex("3080020105"
                                   "24080401AA0403BBCCDD"
                                   "9F812A0101"
                                   "0E00"
                                   "0000");
    expectRoundTrip(der);
    EXPECT_EQ(toXml(der), "<sequence indefinite=\"1\"><int>05</int><octets constructed=\"1\"><octets>qg==</octets>"
                          "<octets>u8zd</octets></octets><contextSpecific tag=\"170\" constructed=\"0\">01"
                          "</contextSpecific><universalTag tag=\"14\" constructed=\"0\"/></sequence>");
}

TEST(Asn1XmlCodec, RejectsMalformedInput) {
    LogBase log;
    StringBuffer xml("stale");
    EXPECT_FALSE(Asn1XmlCodec::derToXml(fromHex("300502010502"), false, true, xml, nullptr, log));
    EXPECT_FALSE(Asn1XmlCodec::derToXml(fromHex("3080020105"), false, true, xml, nullptr, log));
    EXPECT_FALSE(Asn1XmlCodec::derToXml(DataBuffer(), false, true, xml, nullptr, log));
    EXPECT_FALSE(Asn1XmlCodec::derToXml(bufferOf("not DER at all"), false, true, xml, nullptr, log));
    // Universal tag 0 as a value: bare, and with a long-form length that keeps
    // it apart from the end-of-contents of its indefinite SEQUENCE.
    EXPECT_FALSE(Asn1XmlCodec::derToXml(fromHex("0000"), false, true, xml, nullptr, log));
    EXPECT_FALSE(Asn1XmlCodec::derToXml(fromHex("3080008100"
                                                "0000"),
                                        false, true, xml, nullptr, log));
    EXPECT_TRUE(xml.isEmpty());
    EXPECT_TRUE(log.hasErrors());

    ASSERT_TRUE(Asn1XmlCodec::derToXml(fromHex("3000"), false, true, xml, nullptr, log));
    EXPECT_EQ(xml.view(), "<sequence/>");

    std::string deep;
    for (int i = 0; i < 200; ++i)
        deep = "\x30\x80" + deep + std::string(2, '\0');
    EXPECT_FALSE(Asn1XmlCodec::derToXml(bufferOf(deep), false, true, xml, nullptr, log));
}

TEST(Asn1XmlCodec, XmlToDerRejectsWhatItCannotEncode) {
    LogBase log;
    DataBuffer der = fromHex("AA");
    for (const char* xml : {"<unknown>01</unknown>", "<int>0G</int>", "<oid>not.an.oid</oid>",
                            "<contextSpecific constructed=\"0\">01</contextSpecific>", "<null>00</null>",
                            "<universalTag tag=\"0\" constructed=\"0\"/>"}) {
        EXPECT_FALSE(Asn1XmlCodec::xmlToDer(*load(xml, true), der, log)) << xml;
        EXPECT_TRUE(der.isEmpty()) << xml;
    }
    EXPECT_TRUE(Asn1XmlCodec::xmlToDer(*load("<bits>AQ==</bits>", true), der, log));
    EXPECT_TRUE(der.equals(fromHex("03020001")));
}

} // namespace
