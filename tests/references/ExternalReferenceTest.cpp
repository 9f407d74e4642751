// External references: where their data comes from (caller bytes, a caller
// file, the listed directories), per signature and per index.
#include "companion/base/ClsStringBuilder.h"
#include "support/Signing.h"

#include <gtest/gtest.h>

namespace {

using namespace test_support;
namespace fs = std::filesystem;

const std::string kData = "external data\n";

class ExternalReference : public ::testing::Test {
protected:
    void SetUp() override {
        fs::create_directories(tmp.path() / "one");
        fs::create_directories(tmp.path() / "two");
        writeFile(tmp.path() / "two" / "data.txt", kData);
        writeFile(tmp.path() / "wrong.txt", "wrong");
        const std::string refs =
            referenceXml("data.txt", sha256Of(kData)) + referenceXml("#x", "AAAA") + referenceXml(" #x", "AAAA");
        ASSERT_TRUE(loadXml(dsig, documentWithReferences("<a Id=\"x\"/>", refs)));
    }
    std::string path(const std::string& name) const { return (tmp.path() / name).string(); }
    void dirs(const std::string& list) {
        XString d(list);
        dsig.put_ExternalRefDirs(d);
    }
    bool setFile(int index, const std::string& file) {
        XString p(file);
        return dsig.SetRefDataFile(index, p);
    }

    TempDir tmp;
    ClsXmlDSig dsig;
};

TEST_F(ExternalReference, FoundInTheSecondListedDirectory) {
    dirs(path("one") + " ; ;" + path("two"));
    EXPECT_TRUE(dsig.VerifyReferenceDigest(0)) << dsig.lastErrorText();
    dsig.VerifySignature(true);
    EXPECT_EQ(dsig.report().references.at(0).externalFile, (tmp.path() / "two" / "data.txt").string());

    // Every character of the stored digest counts, the last one too.
    std::string lastAltered = sha256Of(kData);
    lastAltered.back() = 'A';
    ASSERT_TRUE(loadXml(dsig, documentWithReferences("", referenceXml("data.txt", lastAltered))));
    dirs(path("two"));
    EXPECT_FALSE(dsig.VerifyReferenceDigest(0));
    EXPECT_EQ(dsig.get_RefFailReason(), 1);
}

// Caller data wins over a file the directories hold, and of the caller's
// own setters the last one wins.
TEST_F(ExternalReference, CallerDataWinsAndTheLastSetterWins) {
    writeFile(tmp.path() / "one" / "data.txt", "stale copy");
    dirs(path("one"));
    setBytes(dsig, 0, kData);
    EXPECT_TRUE(dsig.VerifyReferenceDigest(0)) << dsig.lastErrorText();
    dsig.VerifySignature(true);
    EXPECT_TRUE(dsig.report().references.at(0).matched);
    EXPECT_EQ(dsig.report().references.at(0).externalFile, "");

    ASSERT_TRUE(setFile(0, path("wrong.txt")));
    setBytes(dsig, 0, kData);
    EXPECT_TRUE(dsig.VerifyReferenceDigest(0)) << dsig.lastErrorText();

    setBytes(dsig, 0, "wrong");
    ASSERT_TRUE(setFile(0, (tmp.path() / "two" / "data.txt").string()));
    EXPECT_TRUE(dsig.VerifyReferenceDigest(0)) << dsig.lastErrorText();

    ClsStringBuilder text;
    text.m_str.append("external data\n");
    XString utf16("utf-16le");
    ASSERT_TRUE(dsig.SetRefDataSb(0, text, utf16));
    EXPECT_FALSE(dsig.VerifyReferenceDigest(0));
    EXPECT_EQ(dsig.get_RefFailReason(), 1);
    XString latin1("iso-8859-1");
    ASSERT_TRUE(dsig.SetRefDataSb(0, text, latin1));
    EXPECT_TRUE(dsig.VerifyReferenceDigest(0)) << dsig.lastErrorText();
}

// Zero bytes leave a holder with neither bytes nor a path: the data is not
// missing, so it fails with 99 and IgnoreExternalRefs does not excuse it.
// Neither is a file that cannot be opened excused.
TEST_F(ExternalReference, EmptyOrUnreadableDataIsNotMissingData) {
    dsig.put_IgnoreExternalRefs(true);
    for (bool emptyBytes : {true, false}) {
        SCOPED_TRACE(emptyBytes);
        if (emptyBytes)
            setBytes(dsig, 0, "");
        else
            ASSERT_TRUE(setFile(0, path("absent.txt")));
        EXPECT_FALSE(dsig.VerifyReferenceDigest(0));
        EXPECT_EQ(dsig.get_RefFailReason(), 99);
        dsig.VerifySignature(true);
        EXPECT_EQ(dsig.report().countedReferenceFailures, 3);
    }
}

// A URI reaches only a regular file inside the folder it is resolved in,
// within the size limit. Each escape below names a file with the signed
// bytes, so only the refusal keeps it from verifying.
TEST_F(ExternalReference, UrisStayInsideTheListedFolders) {
    writeFile(tmp.path() / "outside.txt", kData);
    fs::create_directories(tmp.path() / "two" / "sub" / "dir.txt");
    fs::create_symlink(tmp.path() / "outside.txt", tmp.path() / "two" / "link.txt");
    fs::create_symlink(tmp.path() / "two" / "data.txt", tmp.path() / "two" / "inner.txt");
    const std::pair<std::string, bool> cases[] = {
        {"../outside.txt", false},    {"sub/../../../" + tmp.path().filename().string() + "/outside.txt", false},
        {path("outside.txt"), false}, {"link.txt", false},
        {"sub/dir.txt", false},       {"sub/../data.txt", true},
        {"inner.txt", true},
    };
    dirs(path("two"));
    for (const auto& [uri, found] : cases) {
        SCOPED_TRACE(uri);
        ASSERT_TRUE(loadXml(dsig, documentWithReferences("", referenceXml(uri, sha256Of(kData)))));
        EXPECT_EQ(dsig.VerifyReferenceDigest(0), found) << dsig.lastErrorText();
        EXPECT_EQ(dsig.get_RefFailReason(), found ? 0 : 2);
    }

    // kData has 14 bytes.
    dsig.put_VerifyOptions(XString(R"({"MaxExternalFileBytes": 13})"));
    EXPECT_FALSE(dsig.VerifyReferenceDigest(0));
    EXPECT_EQ(dsig.get_RefFailReason(), 2);
    EXPECT_FALSE(dsig.VerifySignature(true));
    ASSERT_TRUE(dsig.report().limit);
    EXPECT_EQ(dsig.report().limit->option, "MaxExternalFileBytes");
    EXPECT_EQ(dsig.report().limit->count, kData.size());
    EXPECT_EQ(dsig.report().limit->limit, 13u);
    dsig.put_VerifyOptions(XString(R"({"MaxExternalFileBytes": 14})"));
    EXPECT_TRUE(dsig.VerifyReferenceDigest(0)) << dsig.lastErrorText();
}

TEST_F(ExternalReference, IndexesZeroToHundredOnly) {
    ClsBinData bytes;
    ClsStringBuilder text;
    XString utf8("utf-8"), file(path("wrong.txt"));
    EXPECT_TRUE(dsig.SetRefDataBd(100, bytes));
    EXPECT_TRUE(dsig.SetRefDataSb(100, text, utf8));
    EXPECT_TRUE(dsig.SetRefDataFile(100, file));
    for (int index : {101, -1}) {
        EXPECT_FALSE(dsig.SetRefDataBd(index, bytes));
        EXPECT_FALSE(dsig.SetRefDataSb(index, text, utf8));
        EXPECT_FALSE(dsig.SetRefDataFile(index, file));
    }
}

// Only the literal first character decides here; verification trims.
TEST_F(ExternalReference, UriQueriesTakeTheAttributeAsWritten) {
    const struct {
        int index;
        bool exists, external;
        const char* uri;
    } cases[] = {{0, true, true, "data.txt"}, {1, true, false, "#x"}, {2, true, true, " #x"}, {3, false, false, ""}};
    for (const auto& c : cases) {
        XString uri("stale");
        EXPECT_EQ(dsig.ReferenceUri(c.index, uri), c.exists) << c.index;
        EXPECT_EQ(std::string(uri.view()), c.uri);
        EXPECT_EQ(dsig.IsReferenceExternal(c.index), c.external) << c.index;
    }
    dsig.VerifySignature(true);
    ASSERT_EQ(dsig.report().references.size(), 3u);
    EXPECT_EQ(dsig.report().references[2].target, ReferenceOutcome::Target::Element);
}

} // namespace
