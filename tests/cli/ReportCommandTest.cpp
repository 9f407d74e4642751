// `xmldsig report` and `verify --ades` end to end on xades4j documents; the
// HTML pages rendered by headless Chromium (skipped when it is not installed).
#include "TestSupport.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using namespace test_support;
namespace fs = std::filesystem;

const fs::path kValid = corpusDir() / "real/xades/xades4j-document.signed.t.bes.xml";
const fs::path kTampered = corpusDir() / "real/xades/xades4j-document.signed.bes-tamper.xml";
constexpr const char* kSigner = "CN=Luis Goncalves, OU=CC, O=ISEL, C=PT";

std::string q(const fs::path& p) {
    return shellQuote(p.string());
}

// The signer's own certificate as the trust anchor, so that the valid
// document can reach TOTAL_PASSED.
fs::path signerAnchor(const fs::path& dir) {
    const ProcessResult certs = runTool("certs " + q(kValid));
    EXPECT_EQ(certs.exitCode, 0) << certs.err;
    writeFile(dir / "signer.pem", certs.out);
    return dir / "signer.pem";
}

// Chromium in a profile of its own inside `dir`; the page's DOM as rendered,
// and a screenshot beside the page.
class Browser {
public:
    explicit Browser(const fs::path& dir) : m_dir(dir) {}
    static bool installed() { return runProcess("command -v chromium").exitCode == 0; }

    std::string renderedDom(const fs::path& page) const { return run("--dump-dom " + url(page)).out; }
    ProcessResult screenshot(const fs::path& page, const fs::path& png) const {
        return run("--window-size=1280,2000 --hide-scrollbars --screenshot=" + q(png) + " " + url(page));
    }

private:
    static std::string url(const fs::path& page) { return q("file://" + fs::absolute(page).string()); }
    ProcessResult run(const std::string& args) const {
        return runProcess("chromium --headless --no-sandbox --disable-gpu --user-data-dir=" + q(m_dir / "profile") +
                          " " + args);
    }
    fs::path m_dir;
};

TEST(ReportCommand, PagesOfAValidAndATamperedDocumentRenderInABrowser) {
    if (!Browser::installed())
        GTEST_SKIP() << "chromium is not installed (scripts/install-deps installs it)";
    TempDir scratch;
    const Browser browser(scratch.path());
    const std::string trust = "--trust " + q(signerAnchor(scratch.path()));
    const struct {
        fs::path document;
        const char* page;
        int exitCode;
        std::vector<std::string> shown;
    } cases[] = {
        {kValid, "valid", 0, {">TOTAL_PASSED<", kSigner, "XAdES-BASELINE-", "&lt;collection Id=\"root\"&gt;"}},
        {kTampered, "tampered", 1, {">TOTAL_FAILED<", ">HASH_FAILURE<", kSigner, "NOT MATCHED: digest mismatch"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.page);
        const fs::path html = scratch.path() / (std::string(c.page) + ".html");
        const ProcessResult r = runTool("report " + trust + " " + q(c.document) + " -o " + q(html));
        EXPECT_EQ(r.exitCode, c.exitCode) << r.err;
        const std::string dom = browser.renderedDom(html);
        ASSERT_NE(dom.find("<body>"), std::string::npos) << dom;
        for (const std::string& text : c.shown)
            EXPECT_NE(dom.find(text), std::string::npos) << text;
        const fs::path png = scratch.path() / (std::string(c.page) + ".png");
        ASSERT_EQ(browser.screenshot(html, png).exitCode, 0);
        EXPECT_EQ(readFile(png).substr(1, 3), "PNG");
    }
}

TEST(ReportCommand, JsonCarriesTheWholeValidationAndTheInputIsNeverOverwritten) {
    TempDir scratch;
    const ProcessResult r =
        runTool("report --format json --trust " + q(signerAnchor(scratch.path())) + " " + q(kValid));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const nlohmann::json sig = nlohmann::json::parse(r.out).at("signatures").at(0);
    const nlohmann::json& ades = sig.at("ades");
    EXPECT_EQ(ades.at("indication"), "TOTAL_PASSED");
    EXPECT_EQ(ades.at("chain").at(0).at("subject"), kSigner);
    EXPECT_EQ(ades.at("chain").at(0).at("revocation").at("status"), "not checked");
    EXPECT_EQ(ades.at("properties").at("signingTime"), "2017-04-21T18:36:38Z");
    EXPECT_TRUE(ades.at("timestamps").is_array() && ades.at("counterSignatures").is_array());
    EXPECT_TRUE(sig.at("log").is_array());

    const fs::path copy = scratch.path() / "doc.xml";
    fs::copy_file(kValid, copy);
    const ProcessResult same = runTool("report " + q(copy) + " -o " + q(scratch.path() / "." / "doc.xml"));
    EXPECT_EQ(same.exitCode, 2);
    EXPECT_NE(same.err.find("is the input document"), std::string::npos) << same.err;
    EXPECT_EQ(readFile(copy), readFile(kValid));
}

TEST(VerifyAdes, IndicationDecidesTheExitCodeOnlyUnderAdes) {
    // Valid, but with no anchor to chain to: INDETERMINATE.
    const ProcessResult plain = runTool("verify " + q(kValid));
    EXPECT_EQ(plain.exitCode, 0);
    EXPECT_EQ(plain.out.find("AdES"), std::string::npos);
    const ProcessResult untrusted = runTool("verify --ades " + q(kValid));
    EXPECT_EQ(untrusted.exitCode, 1);
    EXPECT_NE(untrusted.out.find("VALID rsa-sha256"), std::string::npos) << untrusted.out;
    EXPECT_NE(untrusted.out.find("; AdES INDETERMINATE (NO_CERTIFICATE_CHAIN_FOUND), XAdES-BASELINE-"),
              std::string::npos)
        << untrusted.out;
    TempDir scratch;
    const std::string trust = "--trust " + q(signerAnchor(scratch.path()));
    EXPECT_EQ(runTool("verify --ades " + trust + " " + q(kValid)).exitCode, 0);
    const ProcessResult both = runTool("verify --ades " + trust + " " + q(kValid) + " " + q(kTampered));
    EXPECT_EQ(both.exitCode, 1);
    EXPECT_NE(both.out.find("INVALID: reference 0: digest mismatch; AdES TOTAL_FAILED (HASH_FAILURE)"),
              std::string::npos)
        << both.out;

    const ProcessResult json = runTool("verify --json " + q(kTampered));
    const nlohmann::json verdict = nlohmann::json::parse(json.out).at("files").at(0).at("signatures").at(0).at("ades");
    EXPECT_EQ(verdict.size(), 5u);
    EXPECT_EQ(verdict.at("indication"), "TOTAL_FAILED");
    for (const nlohmann::json& check : verdict.at("checks"))
        EXPECT_EQ(check.size(), 3u);

    const ProcessResult missingPolicy = runTool("verify --ades --policy urn:oid:1.2=/nonexistent.pdf " + q(kValid));
    EXPECT_EQ(missingPolicy.exitCode, 2);
    EXPECT_NE(missingPolicy.err.find("/nonexistent.pdf"), std::string::npos) << missingPolicy.err;
}

} // namespace
