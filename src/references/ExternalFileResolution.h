#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string_view>

class ExtPtrArraySb;
class LogBase;

// The file an external reference's URI names, looked up in the listed
// folders in order. The URI is read as a path relative to the folder; what
// it resolves to (after "..", "." and symbolic links) must be a regular file
// inside that same folder and no larger than maxBytes. A signed document
// thereby reaches only files the caller chose to expose. Each candidate that
// exists but is refused gets a log line saying why. Returns the resolved
// path to open, or nothing.
std::optional<std::filesystem::path> resolveExternalFile(std::string_view uri, const ExtPtrArraySb& dirs,
                                                         uint64_t maxBytes, LogBase& log);
