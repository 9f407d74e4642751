#include "references/ExternalFileResolution.h"

#include "companion/fs/OpenBeneath.h"
#include "companion/log/LogBase.h"
#include "companion/text/ExtPtrArray.h"
#include "verifier/VerificationLimits.h"

#include <fcntl.h>

#include <filesystem>
#include <system_error>

namespace fs = std::filesystem;

namespace {

void refuse(const fs::path& candidate, const std::string& why, LogBase& log) {
    log.LogError("Refused external file \"" + candidate.string() + "\": " + why + ".");
}

// The file in one folder, when it exists and may be read.
std::optional<ExternalFile> fileInFolder(std::string_view uri, const std::string& dir, uint64_t maxBytes,
                                         std::optional<uint64_t>& oversize, LogBase& log) {
    const UniqueFd folder(::open(dir.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!folder)
        return std::nullopt;
    // Only to read absolute link targets by: what is opened is beneath the
    // descriptor, wherever that folder is by then.
    std::error_code ec;
    const std::string folderPath = fs::canonical(dir, ec).string();
    OpenedBeneath opened = openBeneath(folder.get(), folderPath, uri);
    const fs::path candidate = fs::path(dir) / uri;
    if (opened.absent)
        return std::nullopt;
    std::string why = std::move(opened.refusal);
    std::optional<RegularFile> file;
    if (opened.file)
        file = RegularFile::adopt(std::move(opened.file), why);
    if (file && file->size() <= maxBytes)
        return ExternalFile{std::move(*file), (fs::path(dir) / opened.resolved).string()};
    if (file && !oversize)
        oversize = file->size();
    if (file)
        why = std::to_string(file->size()) + " bytes, over the limit of " + std::to_string(maxBytes) +
              " (VerifyOptions \"" + std::string(VerificationLimits::kMaxExternalFileBytes) + "\")";
    refuse(candidate, why, log);
    return std::nullopt;
}

} // namespace

std::optional<ExternalFile> resolveExternalFile(std::string_view uri, const ExtPtrArraySb& dirs, uint64_t maxBytes,
                                                std::optional<uint64_t>& oversize, LogBase& log) {
    if (fs::path(uri).is_absolute()) {
        refuse(fs::path(uri), "an absolute path is never followed", log);
        return std::nullopt;
    }
    for (int i = 0; i < dirs.getSize(); ++i) {
        const StringBuffer* dir = dirs.sbAt(i);
        if (!dir || dir->isEmpty())
            continue;
        if (auto found = fileInFolder(uri, std::string(dir->view()), maxBytes, oversize, log))
            return found;
    }
    return std::nullopt;
}
