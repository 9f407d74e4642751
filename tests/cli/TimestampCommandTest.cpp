#include "support/TimestampTestSupport.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using namespace test_support;
using namespace timestamp_test;

class TimestampCommand : public WithTimestampAuthority {
protected:
    TempDir m_tmp;
};

TEST_F(TimestampCommand, WritesTheTimestampedDocument) {
    const auto in = m_tmp.path() / "in.xml";
    const auto out = m_tmp.path() / "out.xml";
    writeFile(in, s_lab->sign(kXadesBesTemplate));
    ProcessResult r =
        runTool("timestamp --tsa " + tsa().url() + " " + shellQuote(in.string()) + " -o " + shellQuote(out.string()));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.out, "");
    const std::string stamped = readFile(out);
    EXPECT_NE(tokenOf(stamped), "");
    EXPECT_TRUE(timestampVerified(verifyStamped(stamped, R"({"ValidateTsaChain": true})", s_lab->cert("ca"))));

    // Without -o the document goes to stdout; a second stamp is refused.
    r = runTool("timestamp --tsa " + tsa().url() + " --tsa-options '{\"HashAlgorithm\":\"sha512\"}' --selector 0 " +
                shellQuote(in.string()));
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(r.out.find("<xades:EncapsulatedTimeStamp"), std::string::npos);
    r = runTool("timestamp --tsa " + tsa().url() + " " + shellQuote(out.string()));
    EXPECT_EQ(r.exitCode, 2);
    EXPECT_EQ(r.err, "xmldsig: " + out.string() + ": Already has an EncapsulatedTimeStamp.\n");
}

TEST_F(TimestampCommand, AnUnreachableAuthorityIsOneLineAndExitTwo) {
    const auto in = m_tmp.path() / "in.xml";
    writeFile(in, s_lab->sign(kPlainTemplate));
    const std::string closed = "http://127.0.0.1:" + std::to_string(LoopbackTsa::closedPort()) + "/";
    const ProcessResult r = runTool("timestamp --tsa " + closed + " " + shellQuote(in.string()));
    EXPECT_EQ(r.exitCode, 2);
    EXPECT_EQ(r.out, "");
    EXPECT_TRUE(r.err.starts_with("xmldsig: timestamp authority: HTTP POST to " + closed + " failed: ")) << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1);
}

} // namespace
