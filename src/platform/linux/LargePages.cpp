#include "platform/LargePages.h"

#include <sanitizer/asan_interface.h>
#include <sys/mman.h>

namespace velorin {

void AdviseLargePages(void* memory, std::size_t size) {
    (void)madvise(memory, size, MADV_HUGEPAGE);
}

void MarkPagesUnused(void* memory, std::size_t size) {
    (void)madvise(memory, size, MADV_FREE);
    ASAN_POISON_MEMORY_REGION(memory, size);
}

void MarkPagesUsed([[maybe_unused]] void* memory, [[maybe_unused]] std::size_t size) {
    ASAN_UNPOISON_MEMORY_REGION(memory, size);
}

} // namespace velorin
