#include "references/ExternalFileResolution.h"

#include "companion/log/LogBase.h"
#include "companion/text/ExtPtrArray.h"
#include "verifier/VerificationLimits.h"

#include <string>
#include <system_error>

namespace fs = std::filesystem;

namespace {

void refuse(const fs::path& candidate, const std::string& why, LogBase& log) {
    log.LogError("Refused external file \"" + candidate.string() + "\": " + why + ".");
}

// Whether `path` lies below `folder`; both are canonical.
bool isInside(const fs::path& path, const fs::path& folder) {
    const fs::path relative = path.lexically_relative(folder);
    return !relative.empty() && relative != "." && *relative.begin() != "..";
}

// The file in one folder, when it exists and may be read.
std::optional<fs::path> fileInFolder(const fs::path& relative, const std::string& dir, uint64_t maxBytes,
                                     LogBase& log) {
    const fs::path candidate = fs::path(dir) / relative;
    std::error_code ec;
    if (!fs::exists(candidate, ec))
        return std::nullopt;
    const fs::path folder = fs::canonical(dir, ec);
    if (ec)
        return std::nullopt;
    const fs::path resolved = fs::canonical(candidate, ec);
    if (ec) {
        refuse(candidate, "it cannot be resolved (" + ec.message() + ")", log);
        return std::nullopt;
    }
    if (!isInside(resolved, folder)) {
        refuse(candidate,
               "it resolves to \"" + resolved.string() + "\", outside the folder \"" + folder.string() + "\"", log);
        return std::nullopt;
    }
    if (!fs::is_regular_file(resolved, ec)) {
        refuse(candidate, "not a regular file", log);
        return std::nullopt;
    }
    const uintmax_t size = fs::file_size(resolved, ec);
    if (ec || size > maxBytes) {
        refuse(candidate,
               ec ? "its size cannot be read"
                  : std::to_string(size) + " bytes, over the limit of " + std::to_string(maxBytes) +
                        " (VerifyOptions \"" + std::string(VerificationLimits::kMaxExternalFileBytes) + "\")",
               log);
        return std::nullopt;
    }
    return resolved;
}

} // namespace

std::optional<fs::path> resolveExternalFile(std::string_view uri, const ExtPtrArraySb& dirs, uint64_t maxBytes,
                                            LogBase& log) {
    const fs::path relative(uri);
    if (relative.is_absolute()) {
        refuse(relative, "an absolute path is never followed", log);
        return std::nullopt;
    }
    for (int i = 0; i < dirs.getSize(); ++i) {
        const StringBuffer* dir = dirs.sbAt(i);
        if (!dir || dir->isEmpty())
            continue;
        if (auto found = fileInFolder(relative, std::string(dir->view()), maxBytes, log))
            return found;
    }
    return std::nullopt;
}
