// Canonicalization throughput of XmlCanon beside libxml2's C14N (parse plus
// canonicalization, and canonicalization of a pre-parsed document) on the
// same generated documents of 2 KB and 20 MB; 200 MB on demand.
//
//   xmldsig_bench --benchmark_filter=c14n            the 2 KB and 20 MB cases
//   XMLDSIG_BENCH_LARGE=1 xmldsig_bench --benchmark_filter=200MB
//                                                    adds the 200 MB cases
//   XMLDSIG_C14N_WRITE=PATH [XMLDSIG_C14N_WRITE_MB=N] xmldsig_bench --benchmark_filter=write
//                                                    writes the N MB document (default 20) to PATH
//   XMLDSIG_C14N_FILE=PATH xmldsig_bench --benchmark_filter=c14n-file
//                                                    canonicalizes PATH once (whole-process time and
//                                                    memory: bench/c14n_vs_xmllint.sh)
//
// The environment switches exist because this binary's main() belongs to
// XmlLoadBench.cpp.
#include "companion/canon/XmlCanon.h"
#include "companion/log/LogBase.h"
#include "companion/text/StringBuffer.h"

#include <benchmark/benchmark.h>
#include <libxml/c14n.h>
#include <libxml/parser.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>

namespace {

constexpr size_t kKilobyte = 1024;
constexpr size_t kMegabyte = 1024 * kKilobyte;
constexpr size_t kSmallDocument = 2 * kKilobyte;
constexpr size_t kLargeDocument = 20 * kMegabyte;
constexpr size_t kHugeDocument = 200 * kMegabyte;
constexpr int kLibxml2Options = XML_PARSE_NOENT | XML_PARSE_DTDATTR | XML_PARSE_NONET | XML_PARSE_HUGE;

// A linear congruential generator: the same document in every run.
class Numbers {
public:
    uint32_t next(uint32_t bound) {
        m_state = m_state * 6364136223846793005ull + 1442695040888963407ull;
        return static_cast<uint32_t>(m_state >> 33) % bound;
    }

private:
    uint64_t m_state = 7;
};

// One record: attributes written against canonical order (the prefix order
// is the reverse of the namespace-URI order), a namespace redeclared on a
// child, text with references, CDATA, a comment, a PI and an empty element.
void appendRecord(std::string& doc, uint32_t n, Numbers& numbers) {
    const std::string id = std::to_string(n);
    const std::string amount = std::to_string(numbers.next(100000)) + "." + std::to_string(10 + numbers.next(90));
    doc += "  <inv:Record status=\"open\" a:code=\"A-" + id + "\" z:code=\"Z-" + id + "\" Id=\"r" + id + "\">\n";
    doc += "    <Party xmlns:p=\"urn:example:party\" p:role=\"buyer\" name=\"M\xC3\xBCller &amp; S\xC3\xB6hne " +
           std::to_string(numbers.next(1000)) + "\">\n";
    doc += "      <p:Name>Widgets &lt;size " + std::to_string(numbers.next(50)) +
           "&gt; &amp; parts, 12&#x20AC; each</p:Name>\n";
    doc += "      <Note><![CDATA[raw <b>markup</b> & more]]></Note>\n";
    doc += "    </Party>\n";
    doc += "    <!-- record " + id + " -->\n";
    doc += "    <Amount currency=\"EUR\" xml:lang=\"de\">" + amount + "</Amount>\n";
    doc += "    <Flags/>\n";
    doc += "    <?audit checked?>\n";
    doc += "  </inv:Record>\n";
}

std::string generateDocument(size_t bytes) {
    std::string doc;
    doc.reserve(bytes + kKilobyte);
    Numbers numbers;
    doc += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- canonicalization benchmark -->\n"
           "<inv:Batch xmlns=\"urn:example:default\" xmlns:inv=\"urn:example:invoice\"\n"
           "           xmlns:z=\"urn:a:first\" xmlns:a=\"urn:z:last\" xml:lang=\"en\">\n";
    const std::string close = "</inv:Batch>\n";
    for (uint32_t n = 1; doc.size() + close.size() < bytes; ++n)
        appendRecord(doc, n, numbers);
    doc += close;
    return doc;
}

const std::string& document(size_t bytes) {
    static std::map<size_t, std::string> documents;
    auto it = documents.find(bytes);
    if (it == documents.end())
        it = documents.emplace(bytes, generateDocument(bytes)).first;
    return it->second;
}

bool canonicalizeOurs(const StringBuffer& in, StringBuffer& out, bool withComments = false) {
    XmlCanon canon;
    canon.setWithComments(withComments);
    LogNull log;
    return canon.xmlCanonicalize(in, nullptr, 0, out, log);
}

void oursC14n(benchmark::State& state, size_t bytes) {
    const std::string& doc = document(bytes);
    const StringBuffer in{std::string_view(doc)};
    for (auto _ : state) {
        StringBuffer out;
        if (!canonicalizeOurs(in, out))
            state.SkipWithError("XmlCanon failed");
        benchmark::DoNotOptimize(out.getSize());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * doc.size()));
}

void libxml2ParseAndC14n(benchmark::State& state, size_t bytes) {
    const std::string& doc = document(bytes);
    for (auto _ : state) {
        xmlDocPtr parsed =
            xmlReadMemory(doc.data(), static_cast<int>(doc.size()), "bench.xml", nullptr, kLibxml2Options);
        xmlChar* out = nullptr;
        if (!parsed || xmlC14NDocDumpMemory(parsed, nullptr, XML_C14N_1_0, nullptr, 0, &out) < 0)
            state.SkipWithError("libxml2 failed");
        xmlFree(out);
        xmlFreeDoc(parsed);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * doc.size()));
}

void libxml2C14nOnly(benchmark::State& state, size_t bytes) {
    const std::string& doc = document(bytes);
    xmlDocPtr parsed = xmlReadMemory(doc.data(), static_cast<int>(doc.size()), "bench.xml", nullptr, kLibxml2Options);
    for (auto _ : state) {
        xmlChar* out = nullptr;
        if (!parsed || xmlC14NDocDumpMemory(parsed, nullptr, XML_C14N_1_0, nullptr, 0, &out) < 0)
            state.SkipWithError("libxml2 failed");
        xmlFree(out);
    }
    xmlFreeDoc(parsed);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * doc.size()));
}

void canonicalizeFile(benchmark::State& state, std::string path) {
    for (auto _ : state) {
        std::ifstream file(path, std::ios::binary | std::ios::ate);
        std::string bytes(static_cast<size_t>(file.tellg()), '\0');
        file.seekg(0);
        file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        const size_t size = bytes.size();
        const StringBuffer in(std::move(bytes));
        StringBuffer out;
        // With comments, as `xmllint --c14n` canonicalizes.
        if (!canonicalizeOurs(in, out, true))
            state.SkipWithError("XmlCanon failed");
        state.SetBytesProcessed(static_cast<int64_t>(size));
    }
}

void writeDocument(benchmark::State& state, std::string path, size_t bytes) {
    for (auto _ : state) {
        std::ofstream out(path, std::ios::binary);
        out << document(bytes);
        if (!out)
            state.SkipWithError("cannot write the document");
    }
}

void registerSize(const char* label, size_t bytes, benchmark::TimeUnit unit) {
    const std::string suffix = std::string("/") + label;
    benchmark::RegisterBenchmark(("c14n/XmlCanon" + suffix).c_str(), oursC14n, bytes)->Unit(unit);
    benchmark::RegisterBenchmark(("c14n/libxml2-parse+c14n" + suffix).c_str(), libxml2ParseAndC14n, bytes)->Unit(unit);
    benchmark::RegisterBenchmark(("c14n/libxml2-c14n-only" + suffix).c_str(), libxml2C14nOnly, bytes)->Unit(unit);
}

const bool kRegistered = [] {
    registerSize("2KB", kSmallDocument, benchmark::kMicrosecond);
    registerSize("20MB", kLargeDocument, benchmark::kMillisecond);
    if (std::getenv("XMLDSIG_BENCH_LARGE"))
        registerSize("200MB", kHugeDocument, benchmark::kMillisecond);
    if (const char* path = std::getenv("XMLDSIG_C14N_FILE"))
        benchmark::RegisterBenchmark("c14n-file", canonicalizeFile, std::string(path))
            ->Iterations(1)
            ->Unit(benchmark::kMillisecond);
    if (const char* path = std::getenv("XMLDSIG_C14N_WRITE")) {
        const char* megabytes = std::getenv("XMLDSIG_C14N_WRITE_MB");
        const size_t size = (megabytes ? std::strtoul(megabytes, nullptr, 10) : 20) * kMegabyte;
        benchmark::RegisterBenchmark("write-c14n-document", writeDocument, std::string(path), size)->Iterations(1);
    }
    return true;
}();

} // namespace
