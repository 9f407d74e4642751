#include "xmldsig/Settings.h"

#include "api/SettingsData.h"

#include "companion/fs/RegularFile.h"

namespace xmldsig {

void Settings::setAdesValidation(bool on) {
    mutableData().ades = on;
}

void Settings::setOnline(bool on) {
    mutableData().online = on;
}

Status Settings::addPolicyDocument(std::string_view path, std::string_view identifier) {
    const std::string name(path);
    std::string error;
    auto bytes = std::make_shared<std::string>();
    std::optional<RegularFile> file = RegularFile::open(name, error);
    if (!file || !file->appendAll(*bytes, error))
        return {make_error_code(Errc::file_unreadable), name + ": " + error};
    mutableData().policies.push_back({std::string(identifier), name, std::move(bytes)});
    return {};
}

} // namespace xmldsig
