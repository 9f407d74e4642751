// The canonicalization rows of the peer corpus (libxml2's C14N vectors and
// Merlin's canonical SignedInfo outputs) that name the whole document or one element's
// subtree: XmlCanon must reproduce the expected octets.
#include "TestSupport.h"
#include "companion/xml/XmlTestSupport.h"

#include "companion/canon/XmlCanon.h"
#include "companion/log/LogBase.h"
#include "companion/text/DataBuffer.h"
#include "companion/text/StringBuffer.h"
#include "companion/xml/XmlDtd.h"
#include "companion/xml/XmlScanner.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

fs::path peersDir() {
    return test_support::corpusDir() / "peers";
}

struct Row {
    std::string id, file, expected, basis, args, features;
};

std::vector<Row> canonicalizationRows() {
    std::vector<Row> rows;
    for (const auto& cols : test_support::manifestRows(peersDir() / "MANIFEST.tsv"))
        if (cols.size() > 7 && cols[1] == "c14n")
            rows.push_back(Row{cols[0], cols[2], cols[3], cols[4], cols[5], cols[7]});
    return rows;
}

// The value of `key=` among space-separated words, or empty.
std::string word(const std::string& text, const std::string& key) {
    std::istringstream words(text);
    for (std::string w; words >> w;)
        if (w.rfind(key + "=", 0) == 0)
            return w.substr(key.size() + 1);
    return {};
}

// What one row asks of the canonicalizer.
struct Job {
    bool exclusive = false;
    bool withComments = false;
    bool c14n11 = false;
    std::vector<std::string> prefixes;
    std::string apexLocalName; // the element to canonicalize by its start offset
    std::string apexNamespace;
};

bool setMode(const std::string& mode, Job& job) {
    job.exclusive = mode.rfind("exc-c14n", 0) == 0;
    job.withComments = mode.find("with-comments") != std::string::npos;
    job.c14n11 = mode == "c14n11";
    return mode == "c14n" || mode == "c14n-with-comments" || mode == "exc-c14n" || mode == "exc-c14n-with-comments" ||
           job.c14n11;
}

// Fills the job, or gives the reason the row cannot be run.
std::optional<std::string> plan(const Row& row, Job& job) {
    if (row.basis == "whole-document" || row.basis == "element-subtree") {
        if (!setMode(word(row.args, "mode"), job))
            return "mode " + word(row.args, "mode");
        if (row.features.find("external-entity") != std::string::npos)
            return "needs an external parsed entity, which the canonicalizer never reads";
        std::istringstream prefixes(word(row.args, "inclusive-prefixes"));
        for (std::string p; std::getline(prefixes, p, ',');)
            job.prefixes.push_back(p);
        const std::string subset = word(row.args, "subset");
        if (!subset.empty()) {
            const std::string qname = subset.substr(subset.find(':') + 1);
            const size_t colon = qname.find(':');
            job.apexLocalName = colon == std::string::npos ? qname : qname.substr(colon + 1);
            const std::string ns = word(row.args, "ns");
            job.apexNamespace = ns.empty() ? "" : ns.substr(ns.find('=') + 1);
        }
        return std::nullopt;
    }
    if (row.basis == "signedinfo") {
        setMode(word(row.features, "c14n"), job);
        job.apexLocalName = "SignedInfo";
        return std::nullopt;
    }
    if (row.basis == "reference-output")
        return "the octets of a Reference after its URI and transforms are applied: a verifier-level case";
    return row.basis == "needs-xslt" ? "needs an XSLT transform"
           : row.basis == "needs-xpath-nodeset"
               ? "needs an XPath node-set, XPath-Filter 2.0 or XPointer beyond an element subtree"
               : "the reference the output belongs to is not identified";
}

// The start offset of the one element with this local name (any prefix).
std::optional<uint32_t> startOffsetOf(const std::string& doc, const std::string& localName) {
    XmlDtd dtd(doc);
    XmlScanner scanner(dtd);
    std::optional<uint32_t> found;
    while (scanner.next()) {
        const XmlToken& t = scanner.token();
        if (t.kind != XmlTokenKind::StartTag || scanner.inEntity())
            continue;
        const std::string_view name = scanner.slice(t.name);
        const size_t colon = name.find(':');
        if ((colon == std::string_view::npos ? name : name.substr(colon + 1)) != localName)
            continue;
        if (found)
            return std::nullopt;
        found = t.begin;
    }
    return found;
}

TEST(XmlCanonPeerVectors, ElementAndDocumentRowsReproduceExpectedOctets) {
    const std::vector<Row> rows = canonicalizationRows();
    ASSERT_FALSE(rows.empty());
    size_t compared = 0;
    std::vector<std::string> skipped;
    for (const Row& row : rows) {
        Job job;
        if (const std::optional<std::string> reason = plan(row, job)) {
            skipped.push_back(row.id + " (" + row.basis + "): " + *reason);
            continue;
        }
        const std::string bytes = test_support::readFile(peersDir() / row.file);
        const std::string expected = test_support::readFile(peersDir() / row.expected);
        const std::string utf8 = xml_test::utf8Of(bytes);
        uint32_t offset = 0;
        if (!job.apexLocalName.empty()) {
            const std::optional<uint32_t> found = startOffsetOf(utf8, job.apexLocalName);
            ASSERT_TRUE(found) << row.id << ": no single " << job.apexLocalName << " element";
            offset = *found;
        }
        XmlCanon canon;
        canon.setMode(job.exclusive ? XmlCanon::Mode::Exclusive
                      : job.c14n11  ? XmlCanon::Mode::Inclusive11
                                    : XmlCanon::Mode::Inclusive);
        canon.setWithComments(job.withComments);
        for (const std::string& p : job.prefixes)
            canon.inclusivePrefixes().appendSb(p);
        StringBuffer in{std::string_view(utf8)};
        StringBuffer out;
        LogBase log;
        ++compared;
        ASSERT_TRUE(canon.xmlCanonicalize(in, nullptr, offset, out, log)) << row.id << ": " << log.firstError();
        EXPECT_EQ(out.view(), expected) << row.id;
    }
    std::printf("[peer vectors] %zu rows compared, %zu skipped\n", compared, skipped.size());
    for (const std::string& s : skipped)
        std::printf("  skipped %s\n", s.c_str());
    EXPECT_GE(compared, 35u);
}

} // namespace
