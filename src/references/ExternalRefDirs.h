#pragma once

class ExtPtrArraySb;
class XString;

// The directories of an ExternalRefDirs value: split at ';', each trimmed,
// empty entries dropped.
void splitExternalRefDirs(const XString& dirs, ExtPtrArraySb& out);
