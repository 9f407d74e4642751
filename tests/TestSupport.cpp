#include "TestSupport.h"

#include "companion/text/ContentCoding.h"
#include "companion/text/StringBuffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <mutex>
#include <random>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace test_support {

std::vector<std::string> words(const std::string& text) {
    std::vector<std::string> out;
    std::stringstream ss(text);
    for (std::string w; ss >> w;)
        out.push_back(w);
    return out;
}

std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

void writeFile(const fs::path& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary);
    out << bytes;
}

fs::path corpusDataFile(const fs::path& path) {
    fs::path compressed = path;
    compressed += ".gz";
    if (fs::exists(path) || !fs::exists(compressed))
        return path;
    static const TempDir scratch;
    static std::mutex lock;
    const std::lock_guard<std::mutex> held(lock);
    const fs::path copy = scratch.path() / path.filename();
    if (!fs::exists(copy)) {
        const ProcessResult r =
            runProcess("(gzip -dc " + shellQuote(compressed.string()) + " > " + shellQuote(copy.string()) + ")");
        EXPECT_EQ(r.exitCode, 0) << r.err;
    }
    return copy;
}

std::vector<fs::path> corpusXmlFiles() {
    std::vector<fs::path> files;
    for (const auto& entry : fs::recursive_directory_iterator(corpusDir())) {
        if (!entry.is_regular_file())
            continue;
        const std::string ext = entry.path().extension().string();
        if (ext == ".xml" || ext == ".ddoc" || ext == ".xsl")
            files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::vector<std::vector<std::string>> manifestRows(const fs::path& path) {
    std::vector<std::vector<std::string>> rows;
    // A sweep over no rows would pass.
    if (!fs::is_regular_file(path)) {
        ADD_FAILURE() << "no manifest at " << path;
        return rows;
    }
    std::istringstream lines(readFile(path));
    std::string line;
    std::getline(lines, line); // header
    while (std::getline(lines, line)) {
        std::vector<std::string>& cells = rows.emplace_back();
        std::istringstream fields(line);
        for (std::string cell; std::getline(fields, cell, '\t');)
            cells.push_back(cell);
    }
    return rows;
}

std::string shellQuote(const std::string& s) {
    std::string out = "'";
    for (char c : s) {
        if (c == '\'')
            out += "'\\''";
        else
            out += c;
    }
    return out + "'";
}

ProcessResult runProcess(const std::string& commandLine) {
    TempDir tmp;
    const fs::path outFile = tmp.path() / "stdout";
    const fs::path errFile = tmp.path() / "stderr";
    const std::string full = commandLine + " >" + shellQuote(outFile.string()) + " 2>" + shellQuote(errFile.string());
    ProcessResult result;
    const int status = std::system(full.c_str());
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.out = readFile(outFile);
    result.err = readFile(errFile);
    return result;
}

ProcessResult runOpenssl(const fs::path& dir, const std::string& args) {
    const std::string command = "cd " + shellQuote(dir.string()) + " && openssl " + args;
    ProcessResult result = runProcess(command);
    EXPECT_EQ(result.exitCode, 0) << command << "\n" << result.err;
    return result;
}

std::string hexOf(const DataBuffer& bytes) {
    StringBuffer out;
    bytes.encodeDB("hex_lower", out);
    return std::string(out.view());
}

std::string base64Of(std::string_view bytes) {
    std::string out;
    ContentCoding::encodeBase64(bytes.data(), bytes.size(), out);
    return out;
}

DataBuffer bufferOf(std::string_view bytes) {
    DataBuffer out;
    out.append(bytes);
    return out;
}

DataBuffer fromHex(std::string_view hex) {
    DataBuffer out;
    EXPECT_TRUE(out.appendEncoded(hex, "hex")) << hex;
    return out;
}

DataBuffer flipBit(DataBuffer bytes, size_t byte) {
    bytes.getDataRw()[byte] ^= 0x01;
    return bytes;
}

bool logHas(const LogBase& log, LogBase::Kind kind, std::string_view text, bool exact) {
    for (const LogBase::Entry& e : log.entries()) {
        const std::string& s = kind == LogBase::Kind::Data ? e.tag : e.value;
        if (e.kind == kind && (exact ? s == text : s.find(text) != std::string::npos))
            return true;
    }
    return false;
}

TempDir::TempDir() {
    std::random_device rd;
    m_path = fs::temp_directory_path() / ("xmldsig-test-" + std::to_string(::getpid()) + "-" + std::to_string(rd()));
    fs::create_directories(m_path);
}

TempDir::~TempDir() {
    std::error_code ec;
    fs::remove_all(m_path, ec);
}

} // namespace test_support
