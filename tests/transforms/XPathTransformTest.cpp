#include "companion/log/LogBase.h"
#include "companion/xml/ClsXml.h"
#include "verifier/ClsXmlDSig.h"

#include <gtest/gtest.h>

#include <string>

namespace {

class Verifier : public ClsXmlDSig {
public:
    using _clsXmlDSigBase::m_profile;
};

constexpr const char* kXPath1 = "http://www.w3.org/TR/1999/REC-xpath-19991116";
constexpr const char* kFilter2 = "http://www.w3.org/2002/06/xmldsig-filter2";
constexpr const char* kDsSig = "<ds:Signature xmlns:ds=\"http://www.w3.org/2000/09/xmldsig#\"><ds:SignedInfo/>"
                               "<ds:SignatureValue/></ds:Signature>";

struct Outcome {
    bool ok;
    std::string text;
    std::string log;
};

Outcome apply(Verifier& v, const std::string& xml, const char* algorithm, const std::string& xPath,
              const std::string& transformXml = "") {
    LogBase log;
    log.enterContext("test");
    RefPtr<ClsXml> transform;
    if (!transformXml.empty()) {
        transform.reset(ClsXml::createNewCls());
        EXPECT_TRUE(transform->loadXml(std::string_view(transformXml), false, log));
    }
    StringBuffer text(xml), alg(algorithm), expr(xPath);
    const bool ok = v.transformXPath(transform.get(), text, alg, expr, log);
    log.leaveContext();
    return {ok, std::string(text.view()), log.renderText()};
}

TEST(XPathTransform, Filter2SignatureSubtraction) {
    Verifier v;
    const std::string doc = std::string("<r>") + kDsSig + "<a/></r>";
    const std::string subtract = std::string("<ds:Transform><dsig-xpath:XPath Filter=\"subtract\">"
                                             "/descendant::ds:Signature</dsig-xpath:XPath></ds:Transform>");
    const Outcome removed = apply(v, doc, kFilter2, "/descendant::ds:Signature", subtract);
    EXPECT_TRUE(removed.ok);
    EXPECT_EQ(removed.text, "<r><a/></r>");

    const std::string intersect = std::string("<ds:Transform><dsig-xpath:XPath Filter=\"intersect\">"
                                              "/descendant::ds:Signature</dsig-xpath:XPath></ds:Transform>");
    const Outcome refused = apply(v, doc, kFilter2, "/descendant::ds:Signature", intersect);
    EXPECT_FALSE(refused.ok);
    EXPECT_EQ(refused.text, doc);
    EXPECT_NE(refused.log.find("unhandledXPath: 1"), std::string::npos);

    const std::string single = "<ds:Transform><XPath Filter=\"subtract\">/foo</XPath></ds:Transform>";
    const Outcome other = apply(v, doc, kFilter2, "/foo", single);
    EXPECT_FALSE(other.ok);
    EXPECT_NE(other.log.find("unhandledXPath: 3"), std::string::npos);
}

TEST(XPathTransform, NamedElementsAreRemovedExceptMyInvoisFirstExtensions) {
    const std::string doc = "<Invoice><ext:UBLExtensions>1</ext:UBLExtensions><a/>"
                            "<ext:UBLExtensions>2</ext:UBLExtensions></Invoice>";
    const std::string expr = "not(//ancestor-or-self::ext:UBLExtensions)";
    Verifier plain;
    EXPECT_EQ(apply(plain, doc, kXPath1, expr).text, "<Invoice><a/></Invoice>");
    Verifier myInvois;
    myInvois.m_profile.isMyInvois = true;
    EXPECT_EQ(apply(myInvois, doc, kXPath1, expr).text,
              "<Invoice><ext:UBLExtensions>1</ext:UBLExtensions><a/></Invoice>");
}

TEST(XPathTransform, EbXmlNextActorAndUblDocumentSignatures) {
    Verifier v;
    const Outcome eb =
        apply(v, "<E><H><eb:Via SOAP:actor=\"urn:oasis:names:tc:ebxml-msg:actor:nextMSH\">x</eb:Via></H></E>", kXPath1,
              "not(ancestor-or-self::node()[@SOAP:actor=\"urn:oasis:names:tc:ebxml-msg:actor:nextMSH\"])");
    EXPECT_TRUE(eb.ok);
    EXPECT_EQ(eb.text, "<E><H></H></E>");

    const Outcome ubl =
        apply(v, "<I><sig:UBLDocumentSignatures>s</sig:UBLDocumentSignatures><a/></I>", kXPath1,
              "count(ancestor-or-self::sig:UBLDocumentSignatures | here()/ancestor::sig:UBLDocumentSignatures[1]) > "
              "count(ancestor-or-self::sig:UBLDocumentSignatures)");
    EXPECT_TRUE(ubl.ok);
    EXPECT_EQ(ubl.text, "<I><a/></I>");
}

} // namespace
