// The tree against libxml2's xmllint on every XML document of the shared
// corpus: the same documents load, and each loaded one keeps exact offsets
// and serializes to text that reads back to the same tree.
#include "TestSupport.h"
#include "XmlTestSupport.h"

#include <gtest/gtest.h>

#include <iconv.h>

#include <filesystem>
#include <regex>
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

std::string declaredEncoding(const std::string& bytes) {
    static const std::regex kEncoding(R"(^<\?xml[^>]*encoding\s*=\s*["']([^"']+)["'])", std::regex::icase);
    std::smatch m;
    const std::string head = bytes.substr(0, 200);
    return std::regex_search(head, m, kEncoding) ? m[1].str() : std::string("UTF-8");
}

bool isUtf8(std::string encoding) {
    for (char& c : encoding)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return encoding == "UTF-8" || encoding == "UTF8";
}

std::string convertToUtf8(const std::string& bytes, const std::string& encoding) {
    iconv_t cd = iconv_open("UTF-8", encoding.c_str());
    if (cd == reinterpret_cast<iconv_t>(-1))
        return bytes;
    std::string out(bytes.size() * 4, '\0');
    char* in = const_cast<char*>(bytes.data());
    size_t inLeft = bytes.size();
    char* dst = out.data();
    size_t outLeft = out.size();
    iconv(cd, &in, &inLeft, &dst, &outLeft);
    iconv_close(cd);
    out.resize(out.size() - outLeft);
    return out;
}

// The document as the tree receives it from the text layer: in UTF-8, and
// without leading byte-order marks (DataBuffer::convertXmlToUtf8 strips them
// all, while xmllint reads at most one).
std::string asTreeInput(const std::string& bytes) {
    std::string text = bytes.substr(leadingBoms(bytes) * kBom.size());
    const std::string encoding = declaredEncoding(text);
    return isUtf8(encoding) ? text : convertToUtf8(text, encoding);
}

bool xmllintAvailable() { return test_support::runProcess("xmllint --version").exitCode == 0; }

bool xmllintAccepts(const fs::path& file) {
    return test_support::runProcess("xmllint --noout " + test_support::shellQuote(file.string())).exitCode == 0;
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
    int loaded = 0;
    for (const fs::path& file : files) {
        SCOPED_TRACE(file.string());
        const std::string bytes = test_support::readFile(file);
        const std::string text = asTreeInput(bytes);
        LogBase log;
        RefPtr<ClsXml> root = xml_test::load(text, log);
        const bool lint = xmllintAccepts(file);
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

TEST(XmlCorpus, TruncatedDocumentsAreRejectedByBothParsers) {
    if (!xmllintAvailable())
        GTEST_SKIP() << "xmllint is not installed";
    const std::vector<fs::path> files = test_support::corpusXmlFiles();
    test_support::TempDir tmp;
    int cuts = 0;
    for (size_t i = 0; i < files.size(); i += 8) {
        const std::string bytes = test_support::readFile(files[i]);
        if (leadingBoms(bytes) > 0 || !isUtf8(declaredEncoding(bytes)) || bytes.size() < 64)
            continue;
        for (size_t cut : {bytes.size() / 3, bytes.size() / 2, bytes.size() * 2 / 3}) {
            SCOPED_TRACE(files[i].string() + " cut at " + std::to_string(cut));
            const std::string head = bytes.substr(0, cut);
            const fs::path copy = tmp.path() / "truncated.xml";
            test_support::writeFile(copy, head);
            EXPECT_FALSE(xmllintAccepts(copy));
            LogBase log;
            EXPECT_FALSE(xml_test::load(head, log));
            EXPECT_EQ(xml_test::errorCount(log), 1);
            EXPECT_EQ(log.firstError().rfind("XML parse error at line ", 0), 0u) << log.firstError();
            ++cuts;
        }
    }
    EXPECT_GT(cuts, 100);
}

} // namespace
