#include "companion/pki/OidText.h"

#include <openssl/objects.h>

namespace {

// Longer than any OID met in certificates or time-stamps.
constexpr size_t kMaxOidText = 1024;

} // namespace

std::string OidText::dotted(const ASN1_OBJECT* obj) {
    char buf[kMaxOidText];
    const int n = obj ? OBJ_obj2txt(buf, sizeof buf, obj, 1) : -1;
    return (n > 0 && static_cast<size_t>(n) < sizeof buf) ? std::string(buf, static_cast<size_t>(n)) : std::string();
}
