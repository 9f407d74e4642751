#include "companion/log/LogContextExitor.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

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

TEST(LogBase, JsonNestsEntriesUnderTheirContexts) {
    LogBase log;
    logOneCall(log, "Call");
    const auto json = nlohmann::json::parse(log.renderJson());
    ASSERT_EQ(json.size(), 1u);
    EXPECT_EQ(json[0]["context"], "Call");
    const auto& entries = json[0]["entries"];
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[0]["info"], "starting");
    EXPECT_EQ(entries[1]["context"], "inner");
    EXPECT_EQ(entries[1]["entries"][1]["error"], "something failed");
    EXPECT_EQ(entries[1]["entries"][2]["bracketed"], "line1\nline2");
    EXPECT_EQ(entries[2]["tag"], "done");
}

TEST(LogBase, NullLogRecordsNothing) {
    LogNull log;
    logOneCall(log, "Call");
    EXPECT_TRUE(log.entries().empty());
    EXPECT_FALSE(log.hasErrors());
}

} // namespace
