// In-process verification throughput: one loaded document verified again and
// again (references and signature value), as a service verifying many small
// signed messages would. The document and its public key come from the
// environment, written by bench/verify_vs_xmlsec1.sh:
//
//   XMLDSIG_VERIFY_FILE=signed.xml XMLDSIG_VERIFY_KEY=key.pub xmldsig_bench --benchmark_filter=verify
#include "companion/crypto/ClsPublicKey.h"
#include "companion/text/XString.h"
#include "verifier/ClsXmlDSig.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>

namespace {

void verifyLoadedDocument(benchmark::State& state, const std::string& file, const std::string& keyFile) {
    std::ifstream in(file, std::ios::binary);
    std::stringstream bytes;
    bytes << in.rdbuf();
    std::unique_ptr<ClsXmlDSig> dsig(ClsXmlDSig::createNewCls());
    XString xml, keyPath;
    xml.setFromUtf8(bytes.str());
    keyPath.setFromUtf8(keyFile);
    RefPtr<ClsPublicKey> key(ClsPublicKey::createNewCls());
    if (!dsig->LoadSignature(xml) || !key->LoadFromFile(keyPath) || !dsig->SetPublicKey(*key)) {
        state.SkipWithError("cannot load the document or the key");
        return;
    }
    for (auto _ : state) {
        if (!dsig->VerifySignature(true))
            state.SkipWithError("the signature does not verify");
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}

const bool kRegistered = [] {
    const char* file = std::getenv("XMLDSIG_VERIFY_FILE");
    const char* key = std::getenv("XMLDSIG_VERIFY_KEY");
    if (file && key)
        benchmark::RegisterBenchmark("verify/loaded-document", verifyLoadedDocument, std::string(file),
                                     std::string(key))
            ->Unit(benchmark::kMicrosecond);
    return true;
}();

} // namespace
