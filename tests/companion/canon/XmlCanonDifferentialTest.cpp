// XmlCanon against libxml2's C14N: the corpus and generated documents, whole
// and as fragments, in inclusive (1.0 and 1.1) and exclusive modes with and
// without comments. Every byte must agree.
#include "Libxml2Canon.h"
#include "RandomXmlDocument.h"
#include "TestSupport.h"
#include "companion/xml/XmlTestSupport.h"

#include "companion/canon/XmlCanon.h"
#include "companion/log/LogBase.h"
#include "companion/text/DataBuffer.h"
#include "companion/text/StringBuffer.h"

#include <gtest/gtest.h>
#include <libxml/tree.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using libxml2_canon::Settings;

// Fragments compared per corpus document; enough to reach the Ids of
// SignedInfo, objects and properties without making the sweep slow.
constexpr size_t kFragmentsPerDocument = 25;
constexpr uint32_t kGeneratedDocuments = 3000;

// Corpus documents that libxml2 parses but will not canonicalize.
struct Libxml2Refusal {
    const char* fileName;
    const char* reason;
};
constexpr Libxml2Refusal kLibxml2Refusals[] = {
    {"sunat-06.xml", "xmlns:schemaLocation holds a schema location (spaces, backslashes), not a URI"},
    {"sunat-06-tamper.xml", "xmlns:schemaLocation holds a schema location (spaces, backslashes), not a URI"},
};

const char* refusalReason(const fs::path& file) {
    for (const Libxml2Refusal& r : kLibxml2Refusals)
        if (file.filename() == r.fileName)
            return r.reason;
    return nullptr;
}

struct Variant {
    const char* name;
    Settings settings;
};

std::vector<Variant> variants(const std::vector<std::string>& extraPrefixes) {
    std::vector<std::string> prefixes{"#default"};
    prefixes.insert(prefixes.end(), extraPrefixes.begin(), extraPrefixes.end());
    return {
        {"c14n", {false, false, {}}},
        {"c14n-with-comments", {false, true, {}}},
        {"exc-c14n", {true, false, {}}},
        {"exc-c14n-with-comments", {true, true, {}}},
        {"exc-c14n-prefix-list", {true, false, prefixes}},
        {"c14n11", {false, false, {}, true}},
    };
}

std::optional<std::string> ours(const std::string& utf8, const Settings& settings, const char* fragmentUri,
                                std::string& error) {
    XmlCanon canon;
    canon.setMode(settings.exclusive ? XmlCanon::Mode::Exclusive
                  : settings.c14n11  ? XmlCanon::Mode::Inclusive11
                                     : XmlCanon::Mode::Inclusive);
    canon.setWithComments(settings.withComments);
    for (const std::string& p : settings.inclusivePrefixes)
        canon.inclusivePrefixes().appendSb(p);
    StringBuffer in{std::string_view(utf8)};
    StringBuffer out;
    LogBase log;
    if (!canon.xmlCanonicalize(in, fragmentUri, 0, out, log)) {
        error = log.firstError();
        return std::nullopt;
    }
    return std::string(out.view());
}

// Where two texts part, with some context, for a readable failure.
std::string firstDifference(const std::string& expected, const std::string& actual) {
    const auto [e, a] = std::mismatch(expected.begin(), expected.end(), actual.begin(), actual.end());
    const size_t at = static_cast<size_t>(e - expected.begin());
    const size_t from = at > 40 ? at - 40 : 0;
    return "sizes " + std::to_string(expected.size()) + " vs " + std::to_string(actual.size()) +
           ", first difference at byte " + std::to_string(at) + "\n  libxml2: ..." + expected.substr(from, 100) +
           "\n  ours:    ..." + actual.substr(from, 100);
}

struct Tally {
    size_t wholeComparisons = 0;
    size_t fragmentComparisons = 0;
    size_t differing = 0;
    std::vector<std::string> libxml2Refused;
};

// Compares one document in every variant, whole and by each id.
void compareDocument(const std::string& label, const libxml2_canon::Document& oracle, const std::string& utf8,
                     const std::vector<std::string>& ids, const std::vector<std::string>& prefixes, Tally& tally) {
    for (const Variant& v : variants(prefixes)) {
        auto check = [&](const std::optional<std::string>& expected, const char* fragmentUri, size_t& counter) {
            const std::string where = label + " [" + v.name + "]" + (fragmentUri ? std::string(" ") + fragmentUri : "");
            if (!expected) {
                tally.libxml2Refused.push_back(where);
                return;
            }
            ++counter;
            std::string error;
            const std::optional<std::string> actual = ours(utf8, v.settings, fragmentUri, error);
            if (!actual) {
                ++tally.differing;
                ADD_FAILURE() << where << ": failed: " << error;
            } else if (*actual != *expected) {
                ++tally.differing;
                ADD_FAILURE() << where << ": " << firstDifference(*expected, *actual);
            }
        };
        check(oracle.canonicalize(v.settings), nullptr, tally.wholeComparisons);
        for (const std::string& id : ids) {
            const std::string uri = "#" + id;
            check(oracle.canonicalizeFragment(v.settings, id), uri.c_str(), tally.fragmentComparisons);
        }
    }
}

// The prefixes declared on the root element, as libxml2 read them.
std::vector<std::string> rootPrefixes(const std::string& utf8) {
    std::vector<std::string> prefixes;
    const size_t root = utf8.find("xmlns:");
    for (size_t at = root; at != std::string::npos && prefixes.size() < 3; at = utf8.find("xmlns:", at + 1)) {
        const size_t end = utf8.find_first_of("= \t\r\n", at + 6);
        if (end != std::string::npos)
            prefixes.push_back(utf8.substr(at + 6, end - at - 6));
    }
    return prefixes;
}

TEST(XmlCanonDifferential, CorpusDocumentsMatchLibxml2) {
    const std::vector<fs::path> files = test_support::corpusXmlFiles();
    ASSERT_FALSE(files.empty()) << "no corpus under " << test_support::corpusDir();
    Tally tally;
    for (const fs::path& file : files) {
        const std::string label = fs::relative(file, test_support::corpusDir()).string();
        const std::string bytes = test_support::readFile(file);
        const auto oracle = libxml2_canon::Document::parse(bytes);
        if (!oracle)
            continue; // the corpus sweeps of the tree compare loading with xmllint
        const std::string utf8 = xml_test::utf8Of(bytes);
        const size_t refusedBefore = tally.libxml2Refused.size();
        compareDocument(label, *oracle, utf8, oracle->idValues(kFragmentsPerDocument), rootPrefixes(utf8), tally);
        if (tally.libxml2Refused.size() == refusedBefore)
            continue;
        const char* reason = refusalReason(file);
        EXPECT_TRUE(reason) << "libxml2 refuses to canonicalize " << label;
        std::string error;
        EXPECT_TRUE(ours(utf8, Settings{}, nullptr, error)) << label << ": " << error;
    }
    EXPECT_EQ(tally.differing, 0u);
    EXPECT_GT(tally.wholeComparisons, 4 * files.size() / 2);
    EXPECT_GT(tally.fragmentComparisons, 0u);
}

TEST(XmlCanonDifferential, GeneratedDocumentsMatchLibxml2) {
    Tally tally;
    for (uint32_t seed = 1; seed <= kGeneratedDocuments; ++seed) {
        const RandomXmlDocument doc = RandomXmlDocument::generate(seed);
        const auto oracle = libxml2_canon::Document::parse(doc.text);
        ASSERT_TRUE(oracle) << "libxml2 rejects generated document " << seed << ":\n" << doc.text;
        compareDocument("generated #" + std::to_string(seed), *oracle, doc.text, doc.ids, doc.prefixes, tally);
    }
    EXPECT_EQ(tally.differing, 0u);
    EXPECT_TRUE(tally.libxml2Refused.empty());
}

} // namespace
