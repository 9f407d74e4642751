#pragma once

#include "companion/fs/FileDataSource.h"
#include "companion/text/DataBuffer.h"
#include "companion/text/ExtPtrArray.h"
#include "companion/text/XString.h"

#include <optional>

// The caller's data for one external reference: bytes, or else the path of
// a file whose content is digested, or a file found in the listed folders,
// held open from when it was found (m_path then names it for the report).
// Setters keep the kinds exclusive.
class DSigRefExternalData : public TavixObject {
public:
    // The file's bytes from the start, however often it is read.
    bool openFile(FileDataSource& source, LogBase& log) const {
        return m_found ? source.openDescriptor(m_found->duplicate(), log) : source.openDataSourceFile(m_path, log);
    }

    DataBuffer m_data;
    XString m_path;
    std::optional<RegularFile> m_found;
};

// The external data of one signature: slot i holds reference i's data.
class DSigExternalData : public TavixObject {
public:
    ExtPtrArray m_refs;
};
