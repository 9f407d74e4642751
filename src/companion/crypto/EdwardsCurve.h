#pragma once

#include <cstddef>
#include <string_view>

// The two curves of EdDSA (RFC 8032).
enum class EdwardsCurve { Ed25519, Ed448 };

namespace edwards_curve {

// The length in bytes of an encoded point, and of a scalar of a signature:
// 32 for Ed25519, 57 for Ed448.
size_t encodedLength(EdwardsCurve curve);

// The group equation of EdDSA verification, [S]B = R + [k]A: R and A encoded
// points, S and k little-endian scalars (k of any length, taken modulo the
// group order). False when a point does not decode or S is not below the
// order.
bool groupEquationHolds(EdwardsCurve curve, std::string_view r, std::string_view a, std::string_view s,
                        std::string_view k);

} // namespace edwards_curve
