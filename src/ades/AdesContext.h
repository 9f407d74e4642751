#pragma once

#include "companion/crypto/OpensslPtr.h"

#include <ctime>
#include <memory>
#include <optional>
#include <span>
#include <string>

class TrustAnchors;
class RevocationChecker;

// A signature policy's document, as the caller supplied it.
struct PolicyDocument {
    std::string identifier; // empty: matched by file name, or alone
    std::string name;       // the file's path
    std::shared_ptr<const std::string> bytes;
};

// What AdES validation uses beyond the document; set once per verifier and
// only read.
struct AdesContext {
    const TrustAnchors* anchors = nullptr; // null or empty: no chain can be built
    std::span<X509* const> pool;           // the caller's certificates, intermediates for chains
    std::optional<std::time_t> at;         // the validation time the caller fixes, else now
    bool online = false;                   // revocation may be fetched
    const RevocationChecker* revocation = nullptr;
    std::span<const PolicyDocument> policies;
};
