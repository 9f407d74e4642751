#pragma once

#include <string_view>

// Writes all of `bytes` to `fd`, going on after short writes and interrupted
// calls; false on the first error.
bool writeAll(int fd, std::string_view bytes);
