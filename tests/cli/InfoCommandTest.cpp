#include "TestSupport.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>

namespace {

using namespace test_support;
namespace fs = std::filesystem;

ProcessResult info(const fs::path& file, const std::string& extra = "") {
    return runTool("info " + extra + " " + shellQuote(file.string()));
}

TEST(InfoCommand, TextReportNamesSignaturesAndReferences) {
    const fs::path file = corpusDir() / "peers/xmlsec/aleksey-xmldsig-01/enveloping-sha256-rsa-sha256.xml";
    if (!fs::exists(file))
        GTEST_SKIP() << "no corpus";
    ProcessResult r = info(file);
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(r.out.find("1 signature(s)"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("SignatureMethod:        http://www.w3.org/2001/04/xmldsig-more#rsa-sha256"),
              std::string::npos)
        << r.out;
    EXPECT_NE(r.out.find("reference 0"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("DigestMethod: http://www.w3.org/2001/04/xmlenc#sha256"), std::string::npos) << r.out;
}

TEST(InfoCommand, UnreadableFileAndBadUsageExitTwo) {
    ProcessResult missing = info("/nonexistent/file.xml");
    EXPECT_EQ(missing.exitCode, 2);
    EXPECT_NE(missing.err.find("cannot open"), std::string::npos) << missing.err;

    ProcessResult usage = runTool("info --bogus x.xml");
    EXPECT_EQ(usage.exitCode, 2);
    EXPECT_NE(usage.err.find("unknown option --bogus"), std::string::npos) << usage.err;
}

} // namespace
