#pragma once

#include <cstdint>

// Bounds that keep hostile documents from exhausting the stack, memory or time.
namespace xml_limits {

// Open elements at once. The tree is built without recursion, but consumers
// (canonicalization, serialization) may walk it recursively.
inline constexpr uint32_t kMaxElementDepth = 256;
// Entity references being expanded at once (an entity whose text refers to
// another entity, and so on).
inline constexpr uint32_t kMaxEntityNesting = 16;
// Bytes that entity references may add to a document: at least this much...
inline constexpr uint64_t kMinEntityExpansionBytes = 8u << 20;
// ...or this multiple of the document's own size, whichever is larger.
inline constexpr uint64_t kEntityExpansionFactor = 4;
// Element, attribute and entity names.
inline constexpr uint32_t kMaxNameLength = 50000;
// Offsets are 32-bit; entity texts are addressed after the document's bytes.
inline constexpr uint64_t kMaxDocumentBytes = 0x7fffffffu;
// Nested parentheses in an element type declaration.
inline constexpr uint32_t kMaxContentModelDepth = 64;

} // namespace xml_limits
