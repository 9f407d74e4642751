// In-process verification of a new document each round, as a service
// verifying a stream of small signed messages does: the document is loaded
// from its bytes and verified with the certificate its KeyInfo carries, on
// a verifier object kept across rounds (as each `xmldsig verify -j` worker
// keeps one) or on a new one each round.
//
//   XMLDSIG_NEW_DOCUMENT_FILE=inv-2k.xml xmldsig_bench --benchmark_filter=new-document
#include "companion/text/XString.h"
#include "verifier/ClsXmlDSig.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>

namespace {

bool loadAndVerify(ClsXmlDSig& dsig, const std::string& bytes) {
    XString xml;
    xml.setFromUtf8(bytes);
    return dsig.LoadSignature(xml) && dsig.VerifySignature(true);
}

void verifyNewDocument(benchmark::State& state, const std::string& file, bool newVerifier) {
    std::ifstream in(file, std::ios::binary);
    std::stringstream bytes;
    bytes << in.rdbuf();
    const std::string document = bytes.str();
    auto kept = std::make_unique<ClsXmlDSig>();
    for (auto _ : state) {
        auto fresh = newVerifier ? std::make_unique<ClsXmlDSig>() : nullptr;
        if (!loadAndVerify(newVerifier ? *fresh : *kept, document))
            state.SkipWithError("the document does not verify");
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}

const bool kRegistered = [] {
    if (const char* file = std::getenv("XMLDSIG_NEW_DOCUMENT_FILE")) {
        benchmark::RegisterBenchmark("verify/new-document/kept-verifier", verifyNewDocument, std::string(file), false)
            ->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark("verify/new-document/new-verifier", verifyNewDocument, std::string(file), true)
            ->Unit(benchmark::kMicrosecond);
    }
    return true;
}();

} // namespace
