#pragma once

#include <cstdint>

class ClsXml;
class LogBase;
class StringBuffer;

// How the selected relationships are written out.
enum class RelationshipOutput : uint8_t {
    // ECMA-376's: whitespace, comments, other elements and other namespaces
    // left out.
    Standard,
    // What xmlsec 1.2 and its signers wrote: each run of text or comment
    // between elements as an empty <text> or <comment> element ahead of the
    // relationships, and the first namespace a start tag declares as its
    // default one. Given only where that output still names every selected
    // relationship unambiguously: selection by Id alone, and no element but
    // Relationship elements of the relationships namespace, none with a
    // prefixed attribute (old xmlsec wrote any element named Relationship
    // as one and dropped attribute prefixes).
    OldXmlsec,
};

// The OPC relationship transform (ECMA-376, Open Packaging Conventions): of a relationships part,
// the Relationship elements that the transform's RelationshipReference
// (by Id) and RelationshipsGroupReference (by Type) children select, sorted by
// Id, with only their Id, Type, Target and TargetMode (Internal when absent),
// in a Relationships element of their own. `data` is replaced with that XML,
// which the canonicalization after the transform serializes. False (logged)
// when the data is not a relationships part, or `output` cannot be given.
bool applyRelationshipTransform(const ClsXml& transform, StringBuffer& data, RelationshipOutput output, LogBase& log);
