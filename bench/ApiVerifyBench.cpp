// Verification through the public API, as an application (or the Python
// module) calls it: one Verifier with default settings given the same
// document's bytes again and again, a fresh load and result each time; and
// the same with AdES validation, beside it.
//
//   XMLDSIG_API_VERIFY_FILE=/tmp/xmldsig-bench-data/inv-2k.xml xmldsig_bench --benchmark_filter=api/
#include "xmldsig/Verifier.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

namespace {

void verifyDocumentBytes(benchmark::State& state, const std::string& file, bool ades) {
    std::ifstream in(file, std::ios::binary);
    std::stringstream bytes;
    bytes << in.rdbuf();
    const std::string document = bytes.str();
    xmldsig::Settings settings;
    settings.setAdesValidation(ades);
    xmldsig::Verifier verifier{settings};
    for (auto _ : state) {
        const xmldsig::Result result = verifier.verify(std::string_view(document));
        if (!result.valid()) {
            state.SkipWithError("the document does not verify");
            break;
        }
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}

const bool kRegistered = [] {
    if (const char* file = std::getenv("XMLDSIG_API_VERIFY_FILE")) {
        benchmark::RegisterBenchmark("api/verify-bytes", verifyDocumentBytes, std::string(file), false)
            ->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark("api/verify-bytes-ades", verifyDocumentBytes, std::string(file), true)
            ->Unit(benchmark::kMicrosecond);
    }
    return true;
}();

} // namespace
