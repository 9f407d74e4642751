// The tool's report renderers on results filled in by hand: the HTML page
// (escaping, the indication banner, failed references and checks, excerpts of
// the signed elements), the AdES JSON, and writing a report file.
#include "TestSupport.h"

#include "cli/OutputFile.h"
#include "report/AdesJson.h"
#include "report/DocumentText.h"
#include "report/HtmlReport.h"
#include "report/HtmlText.h"
#include "report/SignatureJson.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

namespace {

using namespace test_support;
using xmldsig::AdesValidation;
using xmldsig::Reference;
using xmldsig::SignatureResult;
namespace fs = std::filesystem;

constexpr const char* kDocument = R"(<doc><item Id="it" note="a>b">text</item></doc>)";

std::string lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

// A tampered XAdES signature whose Id and signer carry markup.
SignatureResult tamperedSignature() {
    SignatureResult s;
    s.id = "sig\"><script>alert(1)</script>";
    s.reason = "reference 0: digest mismatch";
    xmldsig::Signer signer;
    signer.algorithm = "rsa-sha256";
    signer.certificate.emplace().subject = "CN=<script>evil()</script>, O=Acme & Sons";
    s.signer = signer;
    Reference ref;
    ref.uri = "#it";
    ref.target = Reference::Target::Element;
    ref.path = "/doc/item";
    ref.offset = static_cast<std::uint32_t>(std::string_view(kDocument).find("<item"));
    ref.failure = "digest mismatch";
    s.references = {ref};
    AdesValidation ades;
    ades.indication = AdesValidation::Indication::TotalFailed;
    ades.subIndication = AdesValidation::SubIndication::HashFailure;
    ades.level = "XAdES-BASELINE-B";
    ades.checks = {{"signed data objects", AdesValidation::Check::Outcome::Failed, "reference 0 does not match"},
                   {"signing certificate", AdesValidation::Check::Outcome::Passed, ""}};
    AdesValidation::ChainCertificate root;
    root.subject = "CN=<b>Root</b>";
    root.anchor = true;
    root.revocation = "revoked";
    root.revocationTime = "2024";
    ades.chain = {root};
    s.ades = ades;
    return s;
}

std::string page(const xmldsig::Result& result) {
    std::ostringstream out;
    writeHtmlReport("in<put>.xml", result, DocumentText::ofBytes(kDocument), out);
    return out.str();
}

TEST(ReportHtml, EscapesDocumentTextAndShowsTheIndicationAndWhatFailed) {
    xmldsig::Result result;
    SignatureResult core;
    core.index = 1;
    core.valid = true;
    result.signatures = {tamperedSignature(), core};
    const std::string html = page(result);

    EXPECT_EQ(lower(html).find("<script"), std::string::npos) << html;
    EXPECT_NE(html.find("sig&quot;&gt;&lt;script&gt;alert(1)&lt;/script&gt;"), std::string::npos);
    EXPECT_NE(html.find("CN=&lt;script&gt;evil()&lt;/script&gt;, O=Acme &amp; Sons"), std::string::npos);
    EXPECT_NE(html.find("CN=&lt;b&gt;Root&lt;/b&gt;"), std::string::npos);
    EXPECT_NE(html.find("in&lt;put&gt;.xml"), std::string::npos);
    // Nothing outside the page.
    for (const char* external : {"src=", "<link", "@import", "url("})
        EXPECT_EQ(html.find(external), std::string::npos) << external;

    EXPECT_NE(html.find("<span class=\"token\">TOTAL_FAILED</span><span class=\"sub\">HASH_FAILURE</span>"
                        "<span class=\"level\">XAdES-BASELINE-B</span>"),
              std::string::npos);
    EXPECT_NE(html.find("Reference 0 (<code>#it</code>) does not match: digest mismatch"), std::string::npos);
    EXPECT_NE(html.find("NOT MATCHED: digest mismatch"), std::string::npos);
    EXPECT_NE(html.find("signed data objects: reference 0 does not match"), std::string::npos);
    EXPECT_NE(html.find("<pre><code>&lt;item Id=&quot;it&quot; note=&quot;a&gt;b&quot;&gt;</code></pre>"),
              std::string::npos);
    EXPECT_NE(html.find("<span class=\"no\">revoked</span>"), std::string::npos);
    // Without a validation the banner gives the XML-DSig verdict, no indication.
    const std::string second = html.substr(html.find("<h2>Signature 1"));
    EXPECT_NE(second.find("<span class=\"token\">VALID</span>"), std::string::npos);
    EXPECT_EQ(second.find("TOTAL_"), std::string::npos);
    EXPECT_EQ(second.find("INDETERMINATE"), std::string::npos);
}

TEST(ReportHtml, ExcerptIsOneStartTagBoundedAndOnlyWhereOneStarts) {
    const std::string longTag = "<e a=\"" + std::string(300, 'x') + "\"/>";
    const std::string document = "<r>" + longTag + "<q b='>'>t</q> text</r>";
    const DocumentText text = DocumentText::ofBytes(document);
    EXPECT_EQ(text.elementStartAt(0), "<r>");
    const std::string cut = text.elementStartAt(3);
    EXPECT_EQ(cut, longTag.substr(0, DocumentText::kMaxExcerptBytes) + "...");
    EXPECT_EQ(text.elementStartAt(static_cast<std::uint32_t>(document.find("<q"))), "<q b='>'>");
    EXPECT_EQ(text.elementStartAt(static_cast<std::uint32_t>(document.find("</q"))), "");
    EXPECT_EQ(text.elementStartAt(static_cast<std::uint32_t>(document.find(" text"))), "");
    EXPECT_EQ(text.elementStartAt(static_cast<std::uint32_t>(document.size() + 10)), "");

    // A cut never splits a UTF-8 character.
    const std::string wide = "<e a=\"" + std::string(233, 'x') + "\xC3\xA9\xC3\xA9\"/>";
    EXPECT_EQ(DocumentText::ofBytes(wide).elementStartAt(0), wide.substr(0, 239) + "...");

    TempDir dir;
    writeFile(dir.path() / "d.xml", document);
    EXPECT_EQ(DocumentText::ofFile(dir.path() / "d.xml").elementStartAt(3), cut);
}

TEST(ReportHtml, TextThatIsNotUtf8BecomesReplacementCharacters) {
    EXPECT_EQ(htmlEscaped("caf\xC3\xA9 \xE2\x82\xAC"), "caf\xC3\xA9 \xE2\x82\xAC");
    EXPECT_EQ(htmlEscaped("caf\xE9<"), "caf\xEF\xBF\xBD&lt;");
    // An overlong '/', then a surrogate: each byte of them is replaced.
    std::string replaced;
    for (int i = 0; i < 5; ++i)
        replaced += "\xEF\xBF\xBD";
    EXPECT_EQ(htmlEscaped("\xC0\xAF\xED\xA0\x80"), replaced);
}

TEST(ReportJson, AdesVerdictHasItsFiveKeysAndNoValuesInvented) {
    AdesValidation ades;
    ades.level = "XAdES-BASELINE-T";
    ades.checks = {{"signature timestamp", AdesValidation::Check::Outcome::NotDone, "no TSA certificate"}};
    const nlohmann::json verdict = adesVerdictJson(ades);
    EXPECT_EQ(verdict, nlohmann::json::parse(R"({"indication": "INDETERMINATE", "subIndication": null,
        "level": "XAdES-BASELINE-T", "bestSignatureTime": null,
        "checks": [{"name": "signature timestamp", "outcome": "not done", "detail": "no TSA certificate"}]})"));

    SignatureResult s = tamperedSignature();
    EXPECT_EQ(signatureJson(s, AdesDetail::Verdict).at("ades").at("subIndication"), "HASH_FAILURE");
    const nlohmann::json full = signatureJson(s, AdesDetail::Full).at("ades");
    EXPECT_EQ(full.at("chain").at(0).at("revocation"),
              nlohmann::json::parse(R"({"status": "revoked", "source": null, "time": "2024"})"));
    for (const char* key : {"properties", "timestamps", "counterSignatures"})
        EXPECT_TRUE(full.contains(key)) << key;
    // Neither a validation nor a log that was not asked for: nothing made up.
    s.ades.reset();
    const nlohmann::json bare = signatureJson(s, AdesDetail::Full);
    EXPECT_FALSE(bare.contains("ades"));
    EXPECT_FALSE(bare.contains("log"));
    EXPECT_NO_THROW(bare.dump());
}

TEST(ReportOutput, WritesWholeFilesAndNeverTheInput) {
    TempDir dir;
    const fs::path input = dir.path() / "doc.xml";
    writeFile(input, "<doc/>");
    std::string error;
    EXPECT_FALSE(writeWholeFile(dir.path() / "." / "doc.xml", "page", input, error));
    EXPECT_NE(error.find("is the input document"), std::string::npos) << error;
    fs::create_symlink(input, dir.path() / "link.xml");
    EXPECT_FALSE(writeWholeFile(dir.path() / "link.xml", "page", input, error));
    EXPECT_EQ(readFile(input), "<doc/>");

    const fs::path out = dir.path() / "report.html";
    writeFile(out, "an older, longer report");
    ASSERT_TRUE(writeWholeFile(out, "page", input, error)) << error;
    EXPECT_EQ(readFile(out), "page");
    EXPECT_FALSE(writeWholeFile(dir.path() / "missing" / "r.html", "page", input, error));
    // No scratch file is left behind.
    EXPECT_EQ(std::distance(fs::directory_iterator(dir.path()), fs::directory_iterator()), 3);
}

} // namespace
