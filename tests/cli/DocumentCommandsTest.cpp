// The commands that read a document and print what it holds: certs, info, c14n.
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace test_support;
namespace fs = std::filesystem;

// `xmldsig certs` prints KeyInfo's certificates as openssl writes PEM;
// nothing for a signature without any, and exit 2 past the signatures.
TEST(CertsCommand, PrintsKeyInfoCertificatesAsPem) {
    const std::filesystem::path examples = examplesDir();
    const ProcessResult rsa = runTool("certs " + shellQuote((examples / "enveloped-rsa-x509.xml").string()));
    EXPECT_EQ(rsa.exitCode, 0) << rsa.err;
    EXPECT_EQ(rsa.out, readFile(examples / "keys/rsa-signer.pem"));
    const std::string hmac = shellQuote((examples / "hmac-sha256.xml").string());
    EXPECT_EQ(runTool("certs --selector 3 " + hmac).exitCode, 2);
    ProcessResult none = runTool("certs " + hmac);
    EXPECT_EQ(none.exitCode, 0);
    EXPECT_TRUE(none.out.empty());
}

// `xmldsig info` names each signature's methods and references as written;
// an unreadable file or a bad option exits 2.
TEST(InfoCommand, TextReportAndErrors) {
    const auto file = examplesDir() / "enveloped-rsa-x509.xml";
    const ProcessResult r = runTool("info " + shellQuote(file.string()));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    for (const char* line :
         {": 1 signature(s)\n", "\n  SignatureMethod:        http://www.w3.org/2001/04/xmldsig-more#rsa-sha256\n",
          "\n  SignatureValue:         256 bytes\n", "\n  reference 0  URI=\"\"\n",
          "\n    DigestMethod: http://www.w3.org/2001/04/xmlenc#sha256\n"})
        EXPECT_NE(r.out.find(line), std::string::npos) << line << r.out;
    const ProcessResult missing = runTool("info /nonexistent/file.xml");
    EXPECT_EQ(missing.exitCode, 2);
    EXPECT_NE(missing.err.find("cannot open"), std::string::npos) << missing.err;
    const ProcessResult usage = runTool("info --bogus x.xml");
    EXPECT_EQ(usage.exitCode, 2);
    EXPECT_NE(usage.err.find("unknown option --bogus"), std::string::npos) << usage.err;
}

ProcessResult c14n(const std::string& args) {
    return runTool("c14n " + args);
}

TEST(C14nCommand, ExclusiveFragmentReproducesTheSignedDigest) {
    // The example's reference is "#body" with exclusive C14N and the prefix list "soap".
    ProcessResult r =
        c14n("--exclusive --prefixes soap --fragment body " +
             shellQuote((examplesDir() / "exc-c14n-ecdsa.xml").string()) + " | openssl dgst -sha256 -binary | base64");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const std::string doc = readFile(examplesDir() / "exc-c14n-ecdsa.xml");
    std::string digest = r.out;
    digest.erase(std::remove(digest.begin(), digest.end(), '\n'), digest.end());
    EXPECT_NE(doc.find("<ds:DigestValue>" + digest + "</ds:DigestValue>"), std::string::npos) << digest;
}

TEST(C14nCommand, BadInputExitsTwoWithOneLine) {
    TempDir tmp;
    const fs::path bad = tmp.path() / "bad.xml";
    writeFile(bad, "<a><b></a>");
    ProcessResult malformed = c14n(shellQuote(bad.string()));
    EXPECT_EQ(malformed.exitCode, 2);
    EXPECT_EQ(std::count(malformed.err.begin(), malformed.err.end(), '\n'), 1) << malformed.err;
    EXPECT_TRUE(malformed.out.empty());

    ProcessResult missingFragment =
        c14n("--fragment nowhere " + shellQuote((examplesDir() / "hmac-sha256.xml").string()));
    EXPECT_EQ(missingFragment.exitCode, 2);
    EXPECT_FALSE(missingFragment.err.empty());

    ProcessResult usage = c14n("--prefixes");
    EXPECT_EQ(usage.exitCode, 2);
}

} // namespace
