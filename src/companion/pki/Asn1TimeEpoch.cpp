#include "companion/pki/Asn1TimeEpoch.h"

#include <openssl/err.h>

std::optional<std::time_t> asn1TimeEpoch(const ASN1_TIME* time) {
    std::tm tm{};
    if (time == nullptr || ASN1_TIME_to_tm(time, &tm) != 1) {
        ERR_clear_error();
        return std::nullopt;
    }
    return timegm(&tm);
}
