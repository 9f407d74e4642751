#include "TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace test_support;
namespace fs = std::filesystem;

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
