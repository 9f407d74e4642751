#pragma once

#include "companion/fs/RegularFile.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

class ExtPtrArraySb;
class LogBase;

// A file found for an external reference: open, and the path it was found at.
struct ExternalFile {
    RegularFile file;
    std::string path;
};

// The file an external reference's URI names, looked up in the listed
// folders in order. The URI is read as a path relative to the folder; what
// it resolves to (after "..", "." and symbolic links) must be a regular file
// inside that same folder and no larger than maxBytes. A signed document
// thereby reaches only files the caller chose to expose. The file is opened
// as it is resolved and checked once open, so a name replaced meanwhile
// cannot lead elsewhere. Each candidate that exists but is refused gets a
// log line saying why; `oversize` gets the size of the first one refused for
// being larger than maxBytes.
std::optional<ExternalFile> resolveExternalFile(std::string_view uri, const ExtPtrArraySb& dirs, uint64_t maxBytes,
                                                std::optional<uint64_t>& oversize, LogBase& log);
