#pragma once

#include "companion/text/DataBuffer.h"
#include "companion/text/ExtPtrArray.h"
#include "companion/text/XString.h"

// The caller's data for one external reference: bytes, or else the path of
// a file whose content is digested. Setters keep the two exclusive.
class DSigRefExternalData : public TavixObject {
public:
    DataBuffer m_data;
    XString m_path;
};

// The external data of one signature: slot i holds reference i's data.
class DSigExternalData : public TavixObject {
public:
    ExtPtrArray m_refs;
};
