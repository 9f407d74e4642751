// The tree against libxml2's xmllint on every XML document of the test
// corpus: the same documents load, and each loaded one keeps exact offsets
// and serializes to text that reads back to the same tree.
#include "TestSupport.h"
#include "XmlTestSupport.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kBom = "\xEF\xBB\xBF";

size_t leadingBoms(std::string_view bytes) {
    size_t n = 0;
    while (bytes.substr(n * kBom.size()).starts_with(kBom))
        ++n;
    return n;
}

bool xmllintAvailable() {
    return test_support::runProcess("xmllint --version").exitCode == 0;
}

// xmllint's verdict on each file, from one shell loop rather than a shell per file.
std::vector<bool> xmllintAccepts(const std::vector<fs::path>& files) {
    test_support::TempDir tmp;
    const fs::path list = tmp.path() / "files";
    std::string names;
    for (const fs::path& f : files)
        names += f.string() + "\n";
    test_support::writeFile(list, names);
    const test_support::ProcessResult r =
        test_support::runProcess("while IFS= read -r f; do xmllint --noout \"$f\" >/dev/null 2>&1; echo $?; done < " +
                                 test_support::shellQuote(list.string()));
    std::vector<bool> accepted;
    size_t pos = 0;
    for (size_t eol; (eol = r.out.find('\n', pos)) != std::string::npos; pos = eol + 1)
        accepted.push_back(r.out.compare(pos, eol - pos, "0") == 0);
    return accepted;
}

void expectTagOffsets(const ClsXml& root, const std::string& text) {
    RefPtr<ClsXml> e(root.searchForTag(nullptr, "*"));
    while (e) {
        const std::string tag(e->tag());
        const std::string start = text.substr(e->startTagBegin(), e->startTagEnd() - e->startTagBegin());
        const std::string end = text.substr(e->endTagBegin(), e->endTagEnd() - e->endTagBegin());
        if (!start.starts_with("&")) { // elements expanded from an entity report the reference
            EXPECT_TRUE(start.starts_with("<" + tag) && start.ends_with(">")) << start;
            if (end.empty())
                EXPECT_TRUE(start.ends_with("/>")) << start;
            else
                EXPECT_TRUE(end.starts_with("</" + tag) && end.ends_with(">")) << end;
        }
        e.reset(root.searchForTag(e.get(), "*"));
    }
}

TEST(XmlCorpus, LoadsExactlyWhatXmllintAccepts) {
    if (!xmllintAvailable())
        GTEST_SKIP() << "xmllint is not installed";
    const std::vector<fs::path> files = test_support::corpusXmlFiles();
    ASSERT_GT(files.size(), 400u);
    const std::vector<bool> verdicts = xmllintAccepts(files);
    ASSERT_EQ(verdicts.size(), files.size());
    int loaded = 0;
    for (size_t i = 0; i < files.size(); ++i) {
        const fs::path& file = files[i];
        SCOPED_TRACE(file.string());
        const std::string bytes = test_support::readFile(file);
        // As the tree receives it from the text layer: in UTF-8, every leading
        // byte-order mark dropped (xmllint reads at most one).
        const std::string text = xml_test::utf8Of(bytes);
        LogBase log;
        RefPtr<ClsXml> root = xml_test::load(text, log);
        const bool lint = verdicts[i];
        if (leadingBoms(bytes) > 1) {
            EXPECT_FALSE(lint);
            EXPECT_TRUE(root) << log.firstError();
            continue;
        }
        EXPECT_EQ(static_cast<bool>(root), lint) << log.firstError();
        if (!root) {
            EXPECT_EQ(xml_test::errorCount(log), 1);
            continue;
        }
        ++loaded;
        expectTagOffsets(*root, text);
        RefPtr<ClsXml> again = xml_test::load(xml_test::serialized(*root), log);
        ASSERT_TRUE(again) << log.firstError();
        EXPECT_EQ(xml_test::dump(*again), xml_test::dump(*root));
    }
    EXPECT_GT(loaded, 400);
}

} // namespace
