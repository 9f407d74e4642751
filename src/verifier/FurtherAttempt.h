#pragma once

#include <cstdint>

// The readings tried after the literal one failed, each named in the log
// where it is tried: W3C rules the literal reading misses and field signers'
// habits. A verification reports the ones that made it succeed.
enum class FurtherAttempt : uint8_t {
    None,
    // Canonicalization with the attribute-sorting bug some signers have, or
    // without it for a document whose profile turned it on.
    SortBugEmulated,
    SortBugDropped,
    // Comments left out of a "" or "#id" reference under a WithComments method.
    CommentsLeftOut,
    // An external reference's transforms applied to its data.
    ExternalTransforms,
    // Expressions of the recognised XPath forms evaluated as XPath.
    EveryXPathEvaluated,
    // The relationship transform's output as xmlsec 1.2 and its signers wrote it.
    OldXmlsecRelationships,
    // An SII DTE digested, or its SignedInfo canonicalized, as a document of its own.
    SiiDteOwnContext,
    SignedInfoInSiiDteOwnContext,
    // DigiDoc SignedDoc rules for its data files.
    SignedDocRules,
    // ZATCA's digest of SignedProperties, a stored digest written in hex, and
    // the AllowXmlDigestError option.
    ZatcaRules,
    HexDigestValue,
    DigestErrorAllowed,
    // The caller's data for a Reference without URI, with its transforms.
    CallerDataWithoutUri,
};

// "sort-bug emulated", "comments left out", ...
const char* furtherAttemptName(FurtherAttempt attempt);
