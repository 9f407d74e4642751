#pragma once

#include "references/HashedOctets.h"
#include "verifier/FurtherAttempt.h"
#include "verifier/ReferenceOutcome.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Under which reading a reference's digest is computed: the literal one or a
// further attempt, with what that attempt changes. Built by the attempt and
// passed down to every step that reads it; two attempts with the same
// settings digest a same-document reference alike (the run's memo keys on
// them).
struct DigestAttempt {
    FurtherAttempt kind = FurtherAttempt::None;
    // Attributes ordered as the sorting-bug signers order them.
    bool sortBugEmulation = false;
    // CMA STP documents: only the STP document of a whole-document reference.
    bool stpDocumentOnly = false;
    // "" and "#id" references canonicalized without comments.
    bool commentsLeftOut = false;
    // An external reference's transforms applied to its data.
    bool transformsOnExternalData = false;
    // Expressions of the recognised forms evaluated too.
    bool evaluateEveryXPath = false;
    // The relationship transform written as xmlsec 1.2 wrote it.
    bool oldXmlsecRelationships = false;
    // The text a reference is resolved in instead of the loaded document
    // (an SII DTE as a document of its own); empty for the loaded one.
    std::string_view ownDocument;

    DigestAttempt further(FurtherAttempt next) const {
        DigestAttempt attempt = *this;
        attempt.kind = next;
        return attempt;
    }
};

// What checking one reference found besides whether it matched.
struct ReferenceCheck {
    bool externalDataMissing = false;
    // The literal attempt's failure code (ref_fail_reason).
    int literalReason = 0;
    // The further attempts the matching reading used, innermost first.
    std::vector<FurtherAttempt> matchedBy;
    // An external chain carried out an expression as a text edit.
    bool recognisedXPathOnExternalData = false;
    // The file an external reference was hashed from (empty: caller data).
    std::string externalFile;
    // The size of a file found for it but refused as over MaxExternalFileBytes.
    std::optional<uint64_t> externalFileOversize;
    // What the evaluated node-set of a same-document reference kept, when
    // not the whole of what its URI named.
    std::optional<ReferenceSelection> selection;
    // When set, receives the octets the last digest computed was over.
    HashedOctets* hashed = nullptr;
};
