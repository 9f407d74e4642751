// Feeds arbitrary bytes to the verifier's byte loader and reads every
// signature's SignedInfo fields and references, as a caller would.
#include "LoadedVerifier.h"

#include "companion/xml/ClsXml.h"
#include "verifier/ClsXmlDSig.h"
#include "verifier/DSigReference.h"

#include <cstddef>
#include <cstdint>
#include <memory>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::unique_ptr<ClsXmlDSig> dsig = loadedVerifier(data, size);
    if (!dsig)
        return 0;
    LogNull log;
    StringBuffer field, prefixes;
    for (int i = 0; i < dsig->get_NumSignatures(); ++i) {
        dsig->put_Selector(i);
        dsig->getSignatureMethod(field, log);
        dsig->getCanonicalizationMethod(field, prefixes, log);
        dsig->getSignatureValue(field, log);
        for (int r = 0; r < dsig->get_NumReferences(); ++r) {
            RefPtr<ClsXml> element(dsig->getReference(r, log));
            DSigReference ref;
            if (element)
                ref.parseReference(*element, log);
        }
    }
    return 0;
}
