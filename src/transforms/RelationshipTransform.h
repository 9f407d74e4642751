#pragma once

class ClsXml;
class LogBase;
class StringBuffer;

// The OPC relationship transform (ECMA-376, Open Packaging Conventions): of a relationships part,
// the Relationship elements that the transform's RelationshipReference
// (by Id) and RelationshipsGroupReference (by Type) children select, sorted by
// Id, with only their Id, Type, Target and TargetMode (Internal when absent),
// in a Relationships element of their own; whitespace, other elements and
// other namespaces are left out. `data` is replaced with that XML, which the
// canonicalization after the transform serializes. False (logged) when the
// data is not a relationships part.
bool applyRelationshipTransform(const ClsXml& transform, StringBuffer& data, LogBase& log);
