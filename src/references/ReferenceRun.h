#pragma once

#include "companion/text/ExtPtrArray.h"
#include "references/ReferenceDigestMemo.h"

#include <optional>

// What the reference checks of one operation share: the folders external
// references are looked up in, and, during a VerifySignature run, the
// outcomes of the same-document references digested so far.
struct ReferenceRun {
    ExtPtrArraySb externalRefDirs;
    std::optional<ReferenceDigestMemo> digests;
};
