// The XAdES families of the real corpus under AdES validation: a document
// the manifest calls valid is never TOTAL_FAILED, and, given no trust
// anchor, INDETERMINATE only for want of a chain; an invalid one is never
// TOTAL_PASSED.
#include "support/AdesLab.h"
#include "support/RealCorpus.h"
#include "xmldsig/Verifier.h"

#include <gtest/gtest.h>

#include <map>
#include <set>

namespace {

using namespace test_support;
using ades_test::verdictOf;
using Indication = xmldsig::AdesValidation::Indication;
using Sub = xmldsig::AdesValidation::SubIndication;

const std::set<std::string> kXadesFamilies = {"xades", "zatca", "myinvois", "italian", "skxml"};
// The levels xades4j's timestamps reach: each kind of timestamp it writes
// (over the data objects, the signature, the signature and its references)
// must be found and verify.
const std::map<std::string, std::string> kLevels = {{"xades-01", "XAdES-BASELINE-B"},
                                                    {"xades-02", "XAdES-BASELINE-T"},
                                                    {"xades-04", "XAdES-C"},
                                                    {"xades-05", "XAdES-X-L"}};
// Rows valid as XML-DSig that AdES validation must fail.
const std::set<std::string> kFailedAsAdes = {
    "xades-16", // its SignatureTimeStamp's imprint is not of the SignatureValue (see xades-16-ts)
};

TEST(AdesCorpus, ValidDocumentsPassButForTheChainAndTamperedOnesNever) {
    int checked = 0;
    for (const RealRow& row : realRows()) {
        if (!kXadesFamilies.count(row.family))
            continue;
        SCOPED_TRACE(row.id);
        const RowInputs in = inputsOf(row);
        xmldsig::Settings settings = settingsOf(in);
        settings.setAdesValidation(true);
        const xmldsig::Result result = xmldsig::verifyFile(in.document, settings);
        ASSERT_TRUE(result.status.ok()) << result.status.message;
        const bool expectedValid = row.expected == "valid" && !kFailedAsAdes.count(row.id);
        bool anyPassedAsFarAsItCan = false;
        for (const xmldsig::SignatureResult& s : result.signatures) {
            ASSERT_TRUE(s.ades);
            const bool chainOnly = s.ades->indication == Indication::Indeterminate &&
                                   s.ades->subIndication == Sub::NoCertificateChainFound;
            anyPassedAsFarAsItCan |= chainOnly;
            if (expectedValid) {
                if (!chainOnly) {
                    EXPECT_NE(s.ades->indication, Indication::TotalFailed) << verdictOf(s);
                }
                for (const auto& check : s.ades->checks)
                    EXPECT_NE(check.outcome, xmldsig::AdesValidation::Check::Outcome::Failed) << check.name;
            } else {
                EXPECT_NE(s.ades->indication, Indication::TotalPassed) << verdictOf(s);
            }
            if (kLevels.count(row.id)) {
                EXPECT_EQ(s.ades->level, kLevels.at(row.id)) << verdictOf(s);
            }
            if (kFailedAsAdes.count(row.id)) {
                EXPECT_EQ(s.ades->indication, Indication::TotalFailed) << verdictOf(s);
            }
        }
        if (expectedValid) {
            EXPECT_TRUE(anyPassedAsFarAsItCan);
        }
        ++checked;
    }
    EXPECT_GT(checked, 60);
}

} // namespace
