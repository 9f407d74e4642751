#include "TestSupport.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>

namespace {

using namespace test_support;
namespace fs = std::filesystem;

// The text with whitespace and escaped carriage returns removed, as
// certificate texts are compared.
std::string flattened(std::string s) {
    for (const std::string cr : {"&#13;", "&#xD;"})
        for (size_t p; (p = s.find(cr)) != std::string::npos;)
            s.erase(p, cr.size());
    s.erase(std::remove_if(s.begin(), s.end(), [](char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }),
            s.end());
    return s;
}

std::vector<std::string> pemBlocks(const std::string& text) {
    std::vector<std::string> blocks;
    const std::string end = "-----END CERTIFICATE-----\n";
    for (size_t a = 0; (a = text.find("-----BEGIN CERTIFICATE-----", a)) != std::string::npos;) {
        const size_t b = text.find(end, a);
        if (b == std::string::npos)
            break;
        blocks.push_back(text.substr(a, b + end.size() - a));
        a = b + end.size();
    }
    return blocks;
}

// The base64 body of a PEM block, without line breaks.
std::string pemBody(const std::string& pem) {
    const size_t begin = pem.find('\n') + 1;
    const size_t end = pem.find("-----END");
    return flattened(pem.substr(begin, end - begin));
}

// `xmldsig info --json` lists every corpus document, and every certificate
// that `xmldsig certs` prints is one that openssl reads and a certificate
// text of the document (the corpus documents embed theirs). openssl reads
// each document's certificates in one run.
TEST(CertsCommand, PrintsTheEmbeddedCertificatesOfEveryCorpusDocument) {
    const auto files = corpusXmlFiles();
    ASSERT_FALSE(files.empty());
    TempDir tmp;
    const fs::path pemFile = tmp.path() / "certs.pem";
    int documentsWithCerts = 0;
    int withSignatures = 0;
    for (const fs::path& file : files) {
        const ProcessResult listed =
            runProcess(shellQuote(toolPath().string()) + " info --json " + shellQuote(file.string()));
        ASSERT_EQ(listed.exitCode, 0) << file << "\n" << listed.err;
        const auto info = nlohmann::json::parse(listed.out);
        withSignatures += !info["signatures"].empty();
        for (const auto& sig : info["signatures"])
            EXPECT_TRUE(sig["references"].is_array()) << file;
        const std::string doc = readFile(file);
        if (doc.find("X509Certificate>") == std::string::npos)
            continue;
        const std::string flat = flattened(doc);
        std::string allPem;
        for (size_t i = 0; i < info["signatures"].size(); ++i) {
            ProcessResult r = runProcess(shellQuote(toolPath().string()) + " certs --selector " + std::to_string(i) +
                                         " " + shellQuote(file.string()));
            ASSERT_NE(r.exitCode, 2) << file << r.err;
            allPem += r.out;
        }
        const auto blocks = pemBlocks(allPem);
        if (blocks.empty())
            continue;
        for (const std::string& pem : blocks)
            EXPECT_NE(flat.find(pemBody(pem)), std::string::npos) << file;
        writeFile(pemFile, allPem);
        ProcessResult parsed = runProcess("openssl crl2pkcs7 -nocrl -certfile " + shellQuote(pemFile.string()) +
                                          " | openssl pkcs7 -print_certs -noout | grep -c '^subject='");
        EXPECT_EQ(parsed.out, std::to_string(blocks.size()) + "\n") << file;
        ++documentsWithCerts;
    }
    EXPECT_GT(documentsWithCerts, 100);
    // Nearly every corpus document is signed; a few are canonicalization inputs.
    EXPECT_GT(withSignatures, static_cast<int>(files.size()) / 2);
}

TEST(CertsCommand, SelectorPastTheSignaturesAndNoCertificates) {
    const std::string tool = shellQuote(toolPath().string());
    const std::string example = shellQuote((fs::path(XMLDSIG_SOURCE_DIR) / "examples/hmac-sha256.xml").string());
    EXPECT_EQ(runProcess(tool + " certs --selector 3 " + example).exitCode, 2);
    ProcessResult none = runProcess(tool + " certs " + example);
    EXPECT_EQ(none.exitCode, 0);
    EXPECT_TRUE(none.out.empty());
}

} // namespace
