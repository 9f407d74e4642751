#pragma once

#include "companion/log/LogBase.h"
#include "companion/text/DataBuffer.h"

#include <filesystem>
#include <string>
#include <vector>

namespace test_support {

inline std::filesystem::path corpusDir() {
    return XMLDSIG_CORPUS_DIR;
}
inline std::filesystem::path examplesDir() {
    return std::filesystem::path(XMLDSIG_SOURCE_DIR) / "examples";
}
inline std::filesystem::path toolPath() {
    return XMLDSIG_TOOL_PATH;
}

std::string readFile(const std::filesystem::path& path);
// The blank-separated words of a text.
std::vector<std::string> words(const std::string& text);
void writeFile(const std::filesystem::path& path, const std::string& bytes);

// A corpus data file by the path its manifest names. The W3C pages that
// external references digest are kept gzip-compressed (FILE.gz), byte for
// byte as published once decompressed: the copy made on first use.
std::filesystem::path corpusDataFile(const std::filesystem::path& path);

// Every corpus file named as an XML document (.xml, .ddoc, .xsl).
std::vector<std::filesystem::path> corpusXmlFiles();

// The rows of a tab-separated manifest, without its header line.
std::vector<std::vector<std::string>> manifestRows(const std::filesystem::path& path);

struct ProcessResult {
    int exitCode = -1;
    std::string out;
    std::string err;
};
// Runs a command line through the shell, capturing stdout and stderr.
ProcessResult runProcess(const std::string& commandLine);
std::string shellQuote(const std::string& s);
// Runs the xmldsig tool with the (already quoted) arguments.
inline ProcessResult runTool(const std::string& args) {
    return runProcess(shellQuote(toolPath().string()) + " " + args);
}
// Runs "openssl <args>" in `dir`, with a test failure that shows stderr
// when it exits non-zero.
ProcessResult runOpenssl(const std::filesystem::path& dir, const std::string& args);

std::string hexOf(const DataBuffer& bytes);   // lower case
std::string base64Of(std::string_view bytes); // on one line
DataBuffer bufferOf(std::string_view bytes);
DataBuffer fromHex(std::string_view hex);
// The bytes with the lowest bit of one byte inverted.
DataBuffer flipBit(DataBuffer bytes, size_t byte);

// Whether the log holds an entry of that kind whose text (a data entry's
// tag) equals `text`, or contains it unless `exact`.
bool logHas(const LogBase& log, LogBase::Kind kind, std::string_view text, bool exact = true);

// A scratch directory removed when the object goes out of scope.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::filesystem::path& path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

} // namespace test_support
