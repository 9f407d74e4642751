#include "companion/fs/FileSys.h"

#include "companion/fs/RegularFile.h"
#include "companion/text/XString.h"

#include <filesystem>
#include <system_error>

bool FileSys::fileExistsX(const XString& path, bool& isDirectory, LogBase&) {
    std::error_code ec;
    const auto status = std::filesystem::status(std::filesystem::path(std::string(path.view())), ec);
    isDirectory = !ec && std::filesystem::is_directory(status);
    return !ec && std::filesystem::is_regular_file(status);
}

bool FileSys::readWholeFile(const std::filesystem::path& path, std::string& out) {
    std::string error;
    const std::optional<RegularFile> file = RegularFile::open(path.string(), error);
    out.clear();
    return file && file->appendAll(out, error);
}
