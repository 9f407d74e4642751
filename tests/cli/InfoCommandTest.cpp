#include "TestSupport.h"

#include <gtest/gtest.h>

namespace {

using namespace test_support;

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

} // namespace
