#include "xmldsig/Timestamp.h"

#include "TestSupport.h"
#include "support/LoopbackTsa.h"

#include <gtest/gtest.h>

#include <filesystem>

// The tool's tests add timestamps through this call; here, the code of each
// way it fails.
TEST(TimestampApi, FailuresCarryTheirCode) {
    const std::filesystem::path example = test_support::examplesDir() / "enveloped-rsa-x509.xml";
    const std::string closed = "http://127.0.0.1:" + std::to_string(timestamp_test::LoopbackTsa::closedPort()) + "/";
    std::string out = "stale";
    // The options are read first, whatever the document.
    xmldsig::Status s = xmldsig::timestampFile("/nonexistent.xml", {closed, "{bad", 0}, out);
    EXPECT_EQ(s.code, xmldsig::Errc::bad_option);
    EXPECT_EQ(out, "");
    s = xmldsig::timestamp(test_support::readFile(example), {closed, "{}", 1}, out);
    EXPECT_EQ(s.code, xmldsig::Errc::no_such_signature);
    EXPECT_EQ(s.message, "document: no signature at index 1");
    s = xmldsig::timestampFile(example, {closed, "{}", 0}, out);
    EXPECT_EQ(s.code, xmldsig::Errc::timestamp_failed);
    EXPECT_FALSE(s.message.empty());
    EXPECT_EQ(out, "");
}
