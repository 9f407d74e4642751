#include "companion/fs/FileSys.h"

#include "companion/text/XString.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

bool FileSys::fileExistsX(const XString& path, bool& isDirectory, LogBase&) {
    std::error_code ec;
    const auto status = std::filesystem::status(std::filesystem::path(std::string(path.view())), ec);
    isDirectory = !ec && std::filesystem::is_directory(status);
    return !ec && std::filesystem::is_regular_file(status);
}

bool FileSys::readWholeFile(const std::filesystem::path& path, std::string& out) {
    // A directory opens as a stream too, and then reads as empty.
    std::error_code ec;
    if (!std::filesystem::is_regular_file(path, ec))
        return false;
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return false;
    out.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return !in.bad();
}
