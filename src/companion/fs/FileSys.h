#pragma once

class XString;
class LogBase;

// File-system queries.
class FileSys {
public:
    // True when a regular file exists at path. `isDirectory` is set when the
    // path names a directory instead.
    static bool fileExistsX(const XString& path, bool& isDirectory, LogBase& log);
};
