#include "companion/base/ClsBinData.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

namespace {

class ClsBinDataFiles : public ::testing::Test {
protected:
    XString pathOf(const char* name) const { return XString((m_dir.path() / name).string()); }
    test_support::TempDir m_dir;
};

const std::string kBytes("\x00\xFF\r\n\x1A"
                         "end\x00",
                         9);

} // namespace

TEST_F(ClsBinDataFiles, BadPathsFailAndKeepTheData) {
    ClsBinData bd;
    bd.m_data.append("keep");
    EXPECT_FALSE(bd.LoadFile(pathOf("missing.bin")));
    EXPECT_FALSE(bd.LoadFile(XString(m_dir.path().string()))); // a directory
    EXPECT_EQ(bd.m_data.view(), "keep");
    EXPECT_TRUE(bd.m_log.hasErrors());
    EXPECT_FALSE(bd.get_LastMethodSuccess());
    EXPECT_FALSE(bd.WriteFile(pathOf("no/such/dir/x.bin")));
}
