#include "companion/platform/HugePages.h"

#include <cstdint>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace {

constexpr size_t kHugePage = size_t{2} << 20;
// Below this the faults saved do not pay for the system call.
constexpr size_t kMinimumBytes = 4 * kHugePage;

} // namespace

void adviseHugePages(const void* data, size_t bytes) {
#if defined(MADV_HUGEPAGE)
    if (bytes < kMinimumBytes)
        return;
    const auto begin = reinterpret_cast<uintptr_t>(data);
    const uintptr_t first = (begin + kHugePage - 1) & ~(kHugePage - 1);
    const uintptr_t last = (begin + bytes) & ~(kHugePage - 1);
    if (last > first)
        madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
#else
    (void)data;
    (void)bytes;
#endif
}
