#pragma once

#include <openssl/asn1.h>

#include <string>
#include <string_view>

// Certificate serial numbers as text: upper-case hex of the shortest
// big-endian magnitude, an even number of digits, "00" for zero, and "-"
// before a negative number. This is also the decimal-to-hex form of
// XString::reencode, so serials from X509SerialNumber compare as text.
class SerialNumberText {
public:
    static std::string fromMagnitude(std::string_view bigEndian, bool negative);
    // A certificate's serial number, as `openssl x509 -serial` prints it.
    static std::string fromInteger(const ASN1_INTEGER* serial);
    // Hex written in any letter case, with colons, white space or leading
    // zeros, in the form above; empty when the text is not hex.
    static std::string normalize(std::string_view hex);
};
