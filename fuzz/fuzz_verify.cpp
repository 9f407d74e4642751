// Feeds arbitrary bytes through the whole verification of every signature, as
// a caller accepting documents from strangers would: with and without the
// reference digests, with timestamp checking on, and with an HMAC key. Must
// never crash, hang or leak, and must leave a known RefFailReason.
#include "FuzzRequire.h"
#include "LoadedVerifier.h"

#include "references/RefFailReason.h"
#include "verifier/ClsXmlDSig.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace {

bool knownReason(int reason) {
    using namespace ref_fail_reason;
    return reason == kMatched || reason == kMismatch || reason == kExternalDataMissing || reason == kNoReference ||
           reason == kCanonicalizationFailed || reason == kIdentifierNotUnique || reason == kXsltNotExecuted ||
           reason == kOther;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::unique_ptr<ClsXmlDSig> dsig = loadedVerifier(data, size);
    if (!dsig)
        return 0;
    XString options, key, encoding;
    options.setFromUtf8("VerifyEncapsulatedTimeStamp");
    dsig->put_UncommonOptions(options);
    key.setFromUtf8("secret");
    encoding.setFromUtf8("ascii");
    dsig->SetHmacKey(key, encoding);
    // No directory is searched: external references stay unresolved.
    dsig->put_IgnoreExternalRefs(true);
    for (int i = 0; i < dsig->get_NumSignatures(); ++i) {
        dsig->put_Selector(i);
        dsig->VerifySignature(true);
        require(knownReason(dsig->get_RefFailReason()));
        dsig->VerifySignature(false);
        dsig->HasEncapsulatedTimeStamp();
    }
    return 0;
}
