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
    const struct {
        fs::path document;
        const char* page;
        std::vector<std::string> shown;
    } cases[] = {
        {kValid, "valid", {"INDETERMINATE", kSigner, "SignatureTimeStamp", "matched"}},
        {kTampered, "tampered", {"TOTAL_FAILED", "HASH_FAILURE", kSigner, "NOT MATCHED: digest mismatch"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.page);
        const fs::path html = scratch.path() / (std::string(c.page) + ".html");
        const ProcessResult r = runTool("report " + q(c.document) + " -o " + q(html));
        EXPECT_EQ(r.exitCode, 1) << r.err;
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
    const ProcessResult r = runTool("report --format json " + q(kValid));
    ASSERT_EQ(r.exitCode, 1) << r.err;
    const nlohmann::json ades = nlohmann::json::parse(r.out).at("signatures").at(0).at("ades");
    EXPECT_EQ(ades.at("chain").at(0).at("subject"), kSigner);
    EXPECT_EQ(ades.at("timestamps").at(0).at("kind"), "SignatureTimeStamp");
    EXPECT_TRUE(ades.at("properties").at("signingTime").is_string());

    TempDir scratch;
    const fs::path copy = scratch.path() / "doc.xml";
    fs::copy_file(kValid, copy);
    const ProcessResult same = runTool("report " + q(copy) + " -o " + q(scratch.path() / "." / "doc.xml"));
    EXPECT_EQ(same.exitCode, 2);
    EXPECT_NE(same.err.find("is the input document"), std::string::npos) << same.err;
    EXPECT_EQ(readFile(copy), readFile(kValid));
}

TEST(VerifyAdes, IndicationDecidesTheExitCodeOnlyUnderAdes) {
    const ProcessResult plain = runTool("verify " + q(kValid));
    EXPECT_EQ(plain.exitCode, 0);
    EXPECT_EQ(plain.out.find("AdES"), std::string::npos);
    const ProcessResult ades = runTool("verify --ades " + q(kValid) + " " + q(kTampered));
    EXPECT_EQ(ades.exitCode, 1);
    EXPECT_NE(ades.out.find("VALID rsa-sha256"), std::string::npos) << ades.out;
    EXPECT_NE(ades.out.find("; AdES TOTAL_FAILED (HASH_FAILURE)"), std::string::npos) << ades.out;

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
