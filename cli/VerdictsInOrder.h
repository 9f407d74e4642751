#pragma once

#include "VerdictReport.h"

#include <cstddef>
#include <functional>
#include <mutex>
#include <optional>
#include <vector>

// Files' results handed on in the order of the command line, whichever
// thread finished them: each as soon as every file before it has been, and
// none kept after, so that a long run prints as it goes and its memory
// does not grow with the number of files. Workers call done from any thread.
class VerdictsInOrder {
public:
    using Take = std::function<void(FileVerdict&)>;
    VerdictsInOrder(size_t count, Take take);

    void done(size_t index, FileVerdict verdict);

private:
    std::mutex m_lock;
    std::vector<std::optional<FileVerdict>> m_waiting; // by index, until handed on
    size_t m_next = 0;                                 // the first not handed on yet
    Take m_take;
};
