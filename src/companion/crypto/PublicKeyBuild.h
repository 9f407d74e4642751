#pragma once

#include "companion/crypto/OpensslPtr.h"

#include <string>
#include <string_view>

// Public keys made from their components (big-endian unsigned integers).
// Each returns null when OpenSSL refuses the components.
namespace public_key_build {

PkeyPtr rsaFromComponents(std::string_view modulus, std::string_view exponent);
PkeyPtr dsaFromComponents(std::string_view p, std::string_view q, std::string_view g, std::string_view y);
// point: the SEC 1 encoding (04||X||Y, or compressed) on the named curve
// (an OpenSSL group name such as "prime256v1").
PkeyPtr ecFromPoint(const std::string& curveName, std::string_view point);

} // namespace public_key_build
