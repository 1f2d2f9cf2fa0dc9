#include "platform/LargePages.h"

#include <cstdint>
#include <sys/mman.h>

namespace velorin {

void AdviseLargePages(void* memory, std::size_t size) {
    // Whole large pages of 2 MB inside the range; nothing is said about its neighbours.
    constexpr std::uintptr_t kLargePage = 2u << 20;
    const auto begin = reinterpret_cast<std::uintptr_t>(memory);
    const std::uintptr_t first = (begin + kLargePage - 1) / kLargePage * kLargePage;
    const std::uintptr_t end = (begin + size) / kLargePage * kLargePage;
    if (first < end) (void)madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE);
}

} // namespace velorin
