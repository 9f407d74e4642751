#pragma once

#include <openssl/asn1.h>

#include <string>

// Object identifiers as dotted decimal text.
class OidText {
public:
    // "2.5.4.3" for commonName; empty when the object cannot be written.
    static std::string dotted(const ASN1_OBJECT* obj);
};
