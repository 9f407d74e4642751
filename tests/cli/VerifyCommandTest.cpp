// `xmldsig verify`: exit codes, the verdict line, --json, selection, keys and
// external data options, on documents signed by xmlsec1.
#include "support/Keys.h"
#include "support/Signing.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sys/stat.h>

#include <memory>

namespace {

using namespace test_support;
using test_support::Workshop;
namespace fs = std::filesystem;

class VerifyCommand : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        dir = std::make_unique<Workshop>();
        const fs::path d = dir->dir();
        for (const char* sub : {"sig", "alone", "ext"})
            fs::create_directories(d / sub);
        ASSERT_TRUE(dir->makeKey("rsa", "rsa"));

        // Two RSA signatures with Ids, each over its own fragment.
        auto sig = [](const char* id, const char* uri) {
            return "<Signature Id=\"" + std::string(id) + "\" xmlns=\"" + std::string(kDsigNs) + "\"><SignedInfo>" +
                   "<CanonicalizationMethod Algorithm=\"" + std::string(kExcC14n) +
                   "\"/><SignatureMethod Algorithm=\"" + std::string(kRsaSha256) + "\"/>" + ref(uri) +
                   "</SignedInfo><SignatureValue/></Signature>";
        };
        const std::string args =
            "--privkey-pem " + q(d / "rsa.key") + " --id-attr:Id d --id-attr:Id Signature --node-id ";
        std::string diagnostics;
        const std::string once = xmlsecSign(
            d, "<doc><d Id=\"d1\">first</d><d Id=\"d2\">second</d>" + sig("s1", "#d1") + sig("s2", "#d2") + "</doc>",
            args + "s1", &diagnostics);
        ASSERT_FALSE(once.empty()) << diagnostics;
        const std::string two = xmlsecSign(d, once, args + "s2", &diagnostics);
        ASSERT_FALSE(two.empty()) << diagnostics;
        writeFile(d / "two.xml", two);
        writeFile(d / "tampered.xml", replaced(two, ">second<", ">secont<"));
        const size_t v = two.find("<SignatureValue>") + 20;
        writeFile(d / "badvalue.xml", std::string(two).replace(v, 1, two[v] == 'A' ? "B" : "A"));

        // HMAC over a fragment and the file data.txt beside the document.
        writeFile(d / "sig" / "data.txt", "attached\n");
        writeFile(d / "ext" / "data.txt", "attached\n");
        writeFile(d / "sig" / "hmac.key", "secret");
        const std::string hmac =
            xmlsecSign(d / "sig", hmacTemplate("<p Id=\"a\">text</p>", ref("#a") + ref("data.txt")),
                       "--hmackey hmac.key --id-attr:Id p", &diagnostics);
        ASSERT_FALSE(hmac.empty()) << diagnostics;
        writeFile(d / "sig" / "hmac.xml", hmac);
        writeFile(d / "alone" / "hmac.xml", hmac);
        writeFile(d / "notxml.xml", "<doc><unclosed></doc>");
    }

    static std::string q(const fs::path& p) { return shellQuote(p.string()); }
    static std::string ref(const char* uri) { return referenceXml(uri, ""); }
    static std::string path(const std::string& name) { return (dir->dir() / name).string(); }
    static ProcessResult verify(const std::string& args) { return runTool("verify " + args); }
    static std::string rsa(const std::string& args) { return "--key " + q(path("rsa.pub.pem")) + " " + args; }

    static inline std::unique_ptr<Workshop> dir;
};

TEST_F(VerifyCommand, SelectionAndOneVerdictLinePerSignature) {
    const std::string two = path("two.xml");
    const std::string valid = "VALID rsa-sha256 signer (caller's key); signer not checked against a trust anchor\n";
    const struct {
        std::string args;
        int exit;
        std::string out;
    } cases[] = {
        {rsa(q(two)), 0, two + ": signature 0 (Id s1): " + valid},
        {rsa("--all " + q(two)), 0, two + ": signature 0 (Id s1): " + valid + two + ": signature 1 (Id s2): " + valid},
        {rsa("--signature-id s2 " + q(two)), 0, two + ": signature 1 (Id s2): " + valid},
        {rsa("--selector 1 " + q(path("tampered.xml"))), 1,
         path("tampered.xml") + ": signature 1 (Id s2): INVALID: reference 0: digest mismatch\n"},
        {rsa("--selector 1 --no-refs " + q(path("tampered.xml"))), 0,
         path("tampered.xml") + ": signature 1 (Id s2): " + valid},
        {rsa(q(path("badvalue.xml"))), 1,
         path("badvalue.xml") + ": signature 0 (Id s1): INVALID: the signature value does not verify\n"},
        // One invalid signature among several files makes the run invalid.
        {rsa(q(two) + " " + q(path("badvalue.xml"))), 1,
         two + ": signature 0 (Id s1): " + valid + path("badvalue.xml") +
             ": signature 0 (Id s1): INVALID: the signature value does not verify\n"},
    };
    for (const auto& c : cases) {
        const ProcessResult r = verify(c.args);
        EXPECT_EQ(r.exitCode, c.exit) << c.args << r.err;
        EXPECT_EQ(r.out, c.out) << c.args;
    }
}

TEST_F(VerifyCommand, HmacKeyAndExternalDataOptions) {
    const std::string hex = "--hmac-key 736563726574 --hmac-encoding hex ";
    const std::string alone = q(path("alone/hmac.xml"));
    const std::string valid = "VALID hmac-sha256 signer (HMAC secret); signer not checked against a trust anchor";
    const struct {
        std::string args;
        int exit;
        std::string verdict;
    } cases[] = {
        // data.txt is found next to the document.
        {hex + q(path("sig/hmac.xml")), 0, valid},
        {"--hmac-key secret " + q(path("sig/hmac.xml")), 0, valid},
        {"--hmac-key wrong " + q(path("sig/hmac.xml")), 1, "INVALID: the signature value does not verify"},
        {hex + alone, 1, "INVALID: reference 1: external data missing or unreadable"},
        {hex + "--ignore-external-refs " + alone, 0, valid},
        {hex + "--ext-dir " + q(path("nothing") + ";" + path("ext")) + " " + alone, 0, valid},
        {hex + "--ref-data 1=" + q(path("ext/data.txt")) + " " + alone, 0, valid},
        {hex + "--ignore-external-refs --ref-data 1=" + q(path("two.xml")) + " " + alone, 1,
         "INVALID: reference 1: digest mismatch"},
        // Limits: the reason is the first-reason line; data.txt has 9 bytes.
        {hex + "--verify-options " + q(R"({"MaxReferences": 1})") + " " + q(path("sig/hmac.xml")), 1,
         R"(INVALID: References in the signature: 2, over the limit of 1 (VerifyOptions "MaxReferences").)"},
        {hex + "--verify-options " + q(R"({"MaxExternalFileBytes": 8})") + " " + q(path("sig/hmac.xml")), 1,
         "INVALID: reference 1: external data missing or unreadable"},
        {hex + "--verify-options " + q(R"({"MaxExternalFileBytes": 9})") + " " + q(path("sig/hmac.xml")), 0, valid},
    };
    for (const auto& c : cases) {
        const ProcessResult r = verify(c.args);
        EXPECT_EQ(r.exitCode, c.exit) << c.args << r.err;
        EXPECT_NE(r.out.find(": signature 0: " + c.verdict + "\n"), std::string::npos) << c.args << r.out;
    }
}

TEST_F(VerifyCommand, JsonCarriesVerdictReasonsAndLog) {
    const ProcessResult r = verify(rsa("--json --all " + q(path("tampered.xml"))));
    EXPECT_EQ(r.exitCode, 1);
    const auto j = nlohmann::json::parse(r.out);
    const auto& sigs = j.at("files").at(0).at("signatures");
    ASSERT_EQ(sigs.size(), 2u);
    EXPECT_EQ(sigs[0].at("verdict"), "VALID");
    EXPECT_EQ(sigs[0].at("failedReferences").size(), 0u);
    EXPECT_EQ(sigs[1].at("verdict"), "INVALID");
    EXPECT_EQ(sigs[1].at("id"), "s2");
    EXPECT_EQ(sigs[1].at("refFailReason"), 1);
    EXPECT_EQ(sigs[1].at("failedReferences"), nlohmann::json::parse(R"([{"index": 0, "reason": 1}])"));
    EXPECT_EQ(sigs[1].at("stage"), "references");
    EXPECT_EQ(sigs[0].at("stage"), "signature value");
    EXPECT_TRUE(sigs[1].at("log").is_array() || sigs[1].at("log").is_object());
}

// Input and usage errors: exit 2 with one line on stderr.
TEST_F(VerifyCommand, UsageAndInputErrors) {
    const std::string two = q(path("two.xml"));
    for (const std::string& args :
         {q(path("missing.xml")), q(path("notxml.xml")), rsa(q(path("missing.xml")) + " " + two), "--bogus " + two,
          "--hmac-key x --hmac-encoding rot13 " + two, "--selector one " + two, "--ref-data x " + two,
          "--all --selector 1 " + two, std::string("-j 0 ") + two, std::string(""), "--signature-id nope " + two,
          "--verify-options nonsense " + two, "--verify-options " + q(R"({"MaxReferences": 0})") + " " + two}) {
        const ProcessResult r = verify(args);
        EXPECT_EQ(r.exitCode, 2) << args;
        EXPECT_EQ(r.err.rfind("xmldsig: ", 0), 0u) << args << r.err;
        const bool usage = r.err.find("usage:") != std::string::npos;
        // A run over several files ends with its summary line.
        const bool summary = r.err.find(" files, ") != std::string::npos;
        if (!usage) {
            EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), summary ? 2 : 1) << args << r.err;
        }
    }
}

// Only regular files are read, and standard input as "-": a folder or a
// FIFO is refused at once with one line, and the other files of the batch
// still get their results.
TEST_F(VerifyCommand, OnlyRegularFilesOrStandardInputAreRead) {
    TempDir tmp;
    const std::string fifo = (tmp.path() / "fifo.xml").string();
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const std::string two = path("two.xml"), folder = tmp.path().string();
    // A run that waits on the FIFO is cut short.
    const ProcessResult r = runProcess("timeout 20 " + q(toolPath()) + " verify -j 1 " +
                                       rsa(q(two) + " " + q(folder) + " " + q(fifo) + " - " + q(two)) + " < " + q(two));
    const std::string valid =
        ": signature 0 (Id s1): VALID rsa-sha256 signer (caller's key); signer not checked against a trust anchor\n";
    EXPECT_EQ(r.exitCode, 2) << r.err;
    EXPECT_EQ(r.out, two + valid + "-" + valid + two + valid);
    EXPECT_EQ(r.err, "xmldsig: " + folder + ": cannot open: a directory, not a regular file\nxmldsig: " + fifo +
                         ": cannot open: a FIFO, not a regular file\n5 files, 3 valid, 0 invalid, 2 errors\n");
}

// Many files: a summary line on stderr, and progress only when stderr is a
// terminal (`script` gives the run one).
// On two threads too, each file's lines come in the order of the command line.
TEST_F(VerifyCommand, ManyFilesGiveASummaryAndProgressOnlyOnATerminal) {
    const std::string valid = verify(rsa(q(path("two.xml")))).out;
    const std::string invalid = verify(rsa(q(path("badvalue.xml")))).out;
    std::string args = q(path("badvalue.xml")) + " " + q(path("missing.xml"));
    std::string lines = invalid;
    for (int i = 0; i < 150; ++i) {
        args += " " + q(path("two.xml")) + " " + q(path("badvalue.xml"));
        lines += valid + invalid;
    }
    const ProcessResult piped = verify(rsa("-j 2 " + args));
    EXPECT_EQ(piped.exitCode, 2);
    EXPECT_EQ(piped.out, lines);
    EXPECT_EQ(piped.err.find('\r'), std::string::npos) << piped.err;
    EXPECT_NE(piped.err.find("\n302 files, 150 valid, 151 invalid, 1 errors\n"), std::string::npos) << piped.err;

    const std::string command = shellQuote(toolPath().string()) + " verify " + rsa(args) + " >/dev/null";
    const ProcessResult terminal = runProcess("script -qec " + shellQuote(command) + " /dev/null");
    EXPECT_NE(terminal.out.find(" of 302 files, "), std::string::npos) << terminal.out;
    EXPECT_NE(terminal.out.find("302 files, 150 valid, 151 invalid, 1 errors"), std::string::npos) << terminal.out;
}

} // namespace
