#pragma once

#include <openssl/asn1.h>

#include <ctime>
#include <optional>

// An ASN.1 UTCTime or GeneralizedTime as seconds since the epoch; empty
// when there is none or it does not parse.
std::optional<std::time_t> asn1TimeEpoch(const ASN1_TIME* time);
