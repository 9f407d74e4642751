#pragma once

#include "companion/fs/UniqueFd.h"

#include <string>
#include <string_view>

// What opening a path beneath a folder gave: the open file, or that there is
// no such file, or why it was refused.
struct OpenedBeneath {
    UniqueFd file;
    bool absent = false;
    std::string refusal;
    // The path the file was found at, relative to the folder, with "." and
    // ".." and symbolic links resolved.
    std::string resolved;
};

// Opens `relative` for reading beneath the folder open as `folder`, never
// anything outside it, whatever is renamed or replaced meanwhile: each step
// is taken from a descriptor, never by a name looked up again. ".." may not
// climb above the folder. A symbolic link is followed when where it leads
// stays inside (an absolute target must start with `folderPath`, the
// folder's canonical path), at most 40 of them. The file itself is opened
// without waiting on a FIFO; checking what it is is the caller's part.
OpenedBeneath openBeneath(int folder, std::string_view folderPath, std::string_view relative);
