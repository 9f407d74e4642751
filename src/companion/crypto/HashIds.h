#pragma once

// The hash algorithm identifiers used throughout the library.
namespace hash_alg {
inline constexpr int kSha1 = 1;
inline constexpr int kSha384 = 2;
inline constexpr int kSha512 = 3;
inline constexpr int kMd2 = 4;
inline constexpr int kMd5 = 5;
inline constexpr int kSha256 = 7;
inline constexpr int kRipemd128 = 9;
inline constexpr int kRipemd160 = 10;
inline constexpr int kSha224 = 11;
inline constexpr int kSha3_224 = 12;
inline constexpr int kSha3_256 = 13;
inline constexpr int kSha3_384 = 14;
inline constexpr int kSha3_512 = 15;
} // namespace hash_alg
