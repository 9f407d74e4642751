#include "keys/CertificateTextDecoding.h"

#include "companion/text/ContentCoding.h"
#include "companion/text/DataBuffer.h"

#include <string>

namespace {

// A certificate text longer than this is decoded every time rather than kept.
constexpr size_t kMaxKeptTextBytes = 16 * 1024;

struct LastDecoded {
    std::string text;
    std::string der;
};

thread_local LastDecoded t_last;

} // namespace

bool decodeCertificateText(std::string_view base64, DataBuffer& der) {
    if (!t_last.text.empty() && base64 == t_last.text) {
        der.clear();
        return der.append(t_last.der);
    }
    if (!ContentCoding::decodeBase64ToDb(base64, der))
        return false;
    if (base64.size() <= kMaxKeptTextBytes) {
        t_last.text.assign(base64);
        t_last.der.assign(der.view());
    }
    return true;
}
