#include "companion/log/LogContextExitor.h"

#include <gtest/gtest.h>

namespace {

void logOneCall(LogBase& log, const char* name) {
    LogContextExitor outer(log, name);
    log.LogInfo("starting");
    {
        LogContextExitor inner(log, "inner");
        log.LogDataLong("count", 3);
        log.LogError("something failed");
        log.LogBracketed("block", "line1\nline2");
    }
    log.LogDataBool("done", true);
}

TEST(LogBase, TextShowsTheTreeOfTheLastTopLevelCall) {
    LogBase log;
    logOneCall(log, "FirstCall");
    logOneCall(log, "SecondCall");
    const std::string text = log.renderText();
    EXPECT_EQ(text.find("FirstCall"), std::string::npos) << text;
    EXPECT_EQ(text, "SecondCall:\n"
                    "  starting\n"
                    "  inner:\n"
                    "    count: 3\n"
                    "    ERROR: something failed\n"
                    "    block: [line1\nline2]\n"
                    "  done: true\n");
    EXPECT_EQ(log.firstError(), "something failed");
    EXPECT_EQ(log.contextDepth(), 0);
}

} // namespace
