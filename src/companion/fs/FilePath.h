#pragma once

class XString;

// File-path composition.
class FilePath {
public:
    // dir + '/' + file, with exactly one separator between them; a file name
    // that is already absolute is taken as it stands.
    static void CombineDirAndFilepath(const XString& dir, const XString& file, XString& out);
};
