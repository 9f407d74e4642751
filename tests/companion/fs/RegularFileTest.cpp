#include "companion/fs/RegularFile.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

namespace {

using test_support::TempDir;
using test_support::writeFile;

// Read whole as it is when read, whether it kept the size it was opened with,
// grew or shrank since, or is empty.
TEST(RegularFile, AppendAllReadsTheFileAsItIsWhenRead) {
    TempDir dir;
    const std::string path = (dir.path() / "f.xml").string();
    const std::string text(5000, 'x');
    for (const std::string& later : {text, text + "<tail/>", text.substr(0, 100), std::string()}) {
        writeFile(path, text);
        std::string error;
        const auto file = RegularFile::open(path, error);
        ASSERT_TRUE(file) << error;
        writeFile(path, later);
        std::string out = "kept:";
        ASSERT_TRUE(file->appendAll(out, error)) << error;
        EXPECT_EQ(out, "kept:" + later);
    }
}

} // namespace
