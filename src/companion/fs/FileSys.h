#pragma once

#include <filesystem>
#include <string>

class XString;
class LogBase;

// File-system queries.
class FileSys {
public:
    // True when a regular file exists at path. `isDirectory` is set when the
    // path names a directory instead.
    static bool fileExistsX(const XString& path, bool& isDirectory, LogBase& log);
    // The bytes of a regular file, replacing out; false when the path names
    // no regular file or it cannot be read.
    static bool readWholeFile(const std::filesystem::path& path, std::string& out);
};
