// Canonicalizes arbitrary bytes in every mode, as a whole document and as the
// fragment a few likely ids name; the canonicalizer must fail cleanly or
// produce output, never crash.
#include "companion/canon/XmlCanon.h"
#include "companion/log/LogBase.h"
#include "companion/text/StringBuffer.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const StringBuffer text(std::string_view(reinterpret_cast<const char*>(data), size));
    LogNull log;
    for (XmlCanon::Mode mode : {XmlCanon::Mode::Inclusive, XmlCanon::Mode::Exclusive}) {
        for (bool comments : {false, true}) {
            XmlCanon canon;
            canon.setMode(mode);
            canon.setWithComments(comments);
            canon.inclusivePrefixes().appendSb("a");
            StringBuffer out;
            canon.xmlCanonicalize(text, nullptr, 0, out, log);
            canon.xmlCanonicalize(text, "#a", 0, out, log);
            canon.setSortBugEmulation(true);
            canon.xmlCanonicalize(text, "#xpointer(id('b'))", 0, out, log);
        }
    }
    return 0;
}
