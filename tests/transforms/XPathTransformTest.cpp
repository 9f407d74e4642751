// XPath expressions of the forms field signers write are applied as text
// edits on the first attempt: what each removes is not signed, what it
// keeps is.
#include "support/Signing.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace test_support;

std::string canonical(const std::string& xml) {
    ClsXmlDSig dsig;
    XString in(xml), version(""), out;
    EXPECT_TRUE(dsig.CanonicalizeXml(in, version, false, out)) << xml;
    return std::string(out.view());
}

TEST(XPathTransform, RecognisedFormsEditTheText) {
    const std::string ns = " xmlns:SOAP=\"urn:soap\" xmlns:eb=\"urn:eb\" xmlns:sig=\"urn:sig\" xmlns:ext=\"urn:ext\"";
    const struct {
        const char* what;
        const char* options;
        std::string content, kept, transform, tampered;
    } cases[] = {
        {"ebXML next MSH", "",
         "<E" + ns + "><H><eb:Via SOAP:actor=\"urn:oasis:names:tc:ebxml-msg:actor:nextMSH\">x</eb:Via><b>1</b></H></E>",
         "<E" + ns + "><H><b>1</b></H></E>",
         xpathTransform("not(ancestor-or-self::node()[@SOAP:actor="
                        "&quot;urn:oasis:names:tc:ebxml-msg:actor:nextMSH&quot;])"),
         "<b>2</b>"},
        {"UBL document signatures", "",
         "<I" + ns + "><sig:UBLDocumentSignatures>s</sig:UBLDocumentSignatures><b>1</b></I>",
         "<I" + ns + "><b>1</b></I>",
         xpathTransform("count(ancestor-or-self::sig:UBLDocumentSignatures | "
                        "here()/ancestor::sig:UBLDocumentSignatures[1]) &gt; "
                        "count(ancestor-or-self::sig:UBLDocumentSignatures)"),
         "<b>2</b>"},
        {"named elements", "",
         "<I" + ns + "><ext:UBLExtensions>1</ext:UBLExtensions><b>1</b><ext:UBLExtensions>2</ext:UBLExtensions></I>",
         "<I" + ns + "><b>1</b></I>", xpathTransform("not(//ancestor-or-self::ext:UBLExtensions)"), "<b>2</b>"},
        // MyInvois keeps the first extensions block, which holds its signature.
        {"MyInvois extensions", "MYINVOIS",
         "<I" + ns + "><ext:UBLExtensions>1</ext:UBLExtensions><b>1</b><ext:UBLExtensions>2</ext:UBLExtensions></I>",
         "<I" + ns + "><ext:UBLExtensions>1</ext:UBLExtensions><b>1</b></I>",
         xpathTransform("not(//ancestor-or-self::ext:UBLExtensions)"), "<b>2</b>"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const std::string ref =
            referenceXml("", sha256Of(canonical("<doc>" + c.kept + "</doc>")), {std::string(kEnveloped), c.transform});
        for (const bool tampered : {false, true}) {
            ClsXmlDSig dsig;
            dsig.put_UncommonOptions(XString(c.options));
            const std::string content = tampered ? replaced(c.content, "<b>1</b>", c.tampered) : c.content;
            ASSERT_TRUE(loadXml(dsig, documentWithReferences(content, ref)));
            EXPECT_FALSE(dsig.VerifySignature(true));
            ASSERT_EQ(dsig.report().references.size(), 1u);
            EXPECT_EQ(dsig.report().references[0].matched, !tampered);
            EXPECT_TRUE(dsig.report().attempts.empty());
        }
    }
}

// Filter 2.0 subtraction of the signatures is a text edit; an intersection
// with them is not one, and is left to the evaluator.
TEST(XPathTransform, Filter2SignatureSubtraction) {
    const std::string filter = "<Transform Algorithm=\"" + std::string(kFilter2) +
                               "\"><dsig-xpath:XPath xmlns:dsig-xpath=\"" + std::string(kFilter2) +
                               "\" xmlns:ds=\"http://www.w3.org/2000/09/xmldsig#\" Filter=\"FILTER\">"
                               "/descendant::ds:Signature</dsig-xpath:XPath></Transform>";
    const std::string digest = sha256Of(canonical("<doc><a></a></doc>"));
    for (const auto& [op, matched] : {std::pair{"subtract", true}, {"intersect", false}}) {
        ClsXmlDSig dsig;
        ASSERT_TRUE(
            loadXml(dsig, documentWithReferences("<a/>", referenceXml("", digest, {replaced(filter, "FILTER", op)}))));
        EXPECT_FALSE(dsig.VerifySignature(true));
        ASSERT_EQ(dsig.report().references.size(), 1u);
        EXPECT_EQ(dsig.report().references[0].matched, matched) << op;
    }
}

} // namespace
