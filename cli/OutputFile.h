#pragma once

#include <filesystem>
#include <string>
#include <string_view>

// Writes `text` to `path` whole or not at all: into a new file in the same
// folder, flushed to disk, then renamed over `path`. Refuses a `path` that is
// the file `input` names (the document a report is about). On failure
// `error` says why and `path` is as it was.
bool writeWholeFile(const std::filesystem::path& path, std::string_view text, const std::filesystem::path& input,
                    std::string& error);
