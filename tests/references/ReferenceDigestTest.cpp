// One reference's digest with the attribute-sorting-bug retry policy, and
// how reference URIs are told apart.
#include "support/Signing.h"

#include <gtest/gtest.h>

namespace {

using namespace test_support;

// Attributes whose namespace-URI order (z:b first) differs from their
// qualified-name order (a:c first).
std::string sortSensitive(const std::string& id) {
    return "<e xmlns:z=\"urn:a\" xmlns:a=\"urn:z\" Id=\"" + id + "\" z:b=\"1\" a:c=\"2\"></e>";
}
std::string canonical(const std::string& id) {
    return "<e xmlns:a=\"urn:z\" xmlns:z=\"urn:a\" Id=\"" + id + "\" z:b=\"1\" a:c=\"2\"></e>";
}
// What a signer with the sorting bug digested.
std::string sortedByQName(const std::string& id) {
    return "<e xmlns:a=\"urn:z\" xmlns:z=\"urn:a\" Id=\"" + id + "\" a:c=\"2\" z:b=\"1\"></e>";
}

const std::string kC14nT(kC14n);

class ReferenceDigest : public ::testing::Test {
protected:
    void load(const std::string& content, const std::string& refs) {
        ASSERT_TRUE(loadXml(dsig, documentWithReferences(content, refs))) << dsig.lastErrorText();
    }
    void options(const std::string& text) {
        XString o(text);
        dsig.put_UncommonOptions(o);
    }
    // The documented log line of the retry: checked here only, the reports
    // elsewhere.
    int count(std::string_view line) const {
        int n = 0;
        for (const LogBase::Entry& e : dsig.m_log.entries())
            n += e.kind == LogBase::Kind::Info && e.value == line;
        return n;
    }
    static constexpr std::string_view kRetryWith =
        "Retry with duplication of common XML canonicalization attribute sorting bug...";
    ClsXmlDSig dsig;
};

// Two references from a signer with the bug and then one without: the first
// is retried with the duplication, the second starts with it (sticky), the
// third fails that way, is retried without it and clears it.
TEST_F(ReferenceDigest, SortingBugRetryIsStickyUntilAReferenceNeedsItOff) {
    load(sortSensitive("b1") + sortSensitive("b2") + sortSensitive("n1"),
         referenceXml("#b1", sha256Of(sortedByQName("b1")), {kC14nT}) +
             referenceXml("#b2", sha256Of(sortedByQName("b2")), {kC14nT}) +
             referenceXml("#n1", sha256Of(canonical("n1")), {kC14nT}));
    dsig.VerifySignature(true);
    EXPECT_TRUE(failedIndexes(dsig).empty()) << dsig.lastErrorText();
    ASSERT_EQ(dsig.report().attempts.size(), 2u);
    EXPECT_TRUE(usedAttempt(dsig, FurtherAttempt::SortBugEmulated, 0));
    EXPECT_TRUE(usedAttempt(dsig, FurtherAttempt::SortBugDropped, 2));
    EXPECT_FALSE(dsig.profileFlags().dupC14nSortBug);

    // A later call on the bug's references now starts without it again.
    EXPECT_TRUE(dsig.VerifyReferenceDigest(1));
    EXPECT_EQ(count(kRetryWith), 1);
    EXPECT_TRUE(dsig.profileFlags().dupC14nSortBug);
}

// Only a mismatch is retried (and a failed retry leaves the bug on for the
// next reference): no reference, missing external data, a canonicalization
// failure and an unprocessable transform are not.
TEST_F(ReferenceDigest, OnlyAMismatchIsRetried) {
    const std::string ok = sha256Of(canonical("n1"));
    load(sortSensitive("n1"), referenceXml("data.bin", ok) + referenceXml("#nowhere", ok) +
                                  referenceXml("#n1", ok, {"http://www.w3.org/TR/1999/REC-xslt-19991116"}) +
                                  referenceXml("#n1", ok, {"http://www.w3.org/TR/1999/REC-xpath-19991116"}) +
                                  referenceXml("#n1", sha256Of("x"), {kC14nT}));
    const std::pair<int, int> cases[] = {{9, 3}, {0, 2}, {1, 5}, {2, 7}, {3, 99}};
    for (const auto& [index, reason] : cases) {
        SCOPED_TRACE(index);
        EXPECT_FALSE(dsig.VerifyReferenceDigest(index));
        EXPECT_EQ(dsig.get_RefFailReason(), reason);
        EXPECT_FALSE(dsig.profileFlags().dupC14nSortBug);
    }
    EXPECT_FALSE(dsig.VerifyReferenceDigest(4));
    EXPECT_EQ(dsig.get_RefFailReason(), 1);
    EXPECT_TRUE(dsig.profileFlags().dupC14nSortBug);
}

} // namespace
