#include "companion/base/ClsBase.h"
#include "TestSupport.h"
#include "companion/log/LogContextExitor.h"

#include <gtest/gtest.h>

namespace {

// A public object with one method that runs in the public-call frame.
class Sample : public ClsBase {
public:
    bool Run(bool outcome) {
        CritSecExitor lock(m_critSec);
        LogContextExitor ctx(*this, "Run");
        m_log.LogDataLong("outcome", outcome);
        logSuccessFailure(outcome);
        return outcome;
    }
};

std::string lastErrorText(ClsBase& obj) {
    XString text;
    obj.get_LastErrorText(text);
    return std::string(text.view());
}

} // namespace

TEST(ClsBase, OutcomeIsTheLastLineOfTheCallAndIsRemembered) {
    Sample obj;
    obj.Run(true);
    EXPECT_TRUE(obj.get_LastMethodSuccess());
    const std::string success = lastErrorText(obj);
    EXPECT_NE(success.find("Run:"), std::string::npos);
    EXPECT_LT(success.find("outcome: 1"), success.find("Success."));

    obj.Run(false);
    EXPECT_FALSE(obj.get_LastMethodSuccess());
    const std::string failure = lastErrorText(obj);
    EXPECT_NE(failure.find("Failed."), std::string::npos);
    EXPECT_EQ(failure.find("Success."), std::string::npos); // only the last call is shown
}

TEST(ClsBase, DebugLogFileReceivesEachFinishedCall) {
    test_support::TempDir tmp;
    const std::filesystem::path path = tmp.path() / "debug.log";
    Sample obj;
    obj.put_DebugLogFilePath(XString(path.string()));
    obj.Run(true);
    obj.Run(false);
    const std::string written = test_support::readFile(path);
    EXPECT_NE(written.find("Success."), std::string::npos);
    EXPECT_NE(written.find("Failed."), std::string::npos);
}
