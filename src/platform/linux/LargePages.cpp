#include "platform/LargePages.h"

#include <sys/mman.h>

namespace velorin {

void AdviseLargePages(void* memory, std::size_t size) {
    (void)madvise(memory, size, MADV_HUGEPAGE);
}

} // namespace velorin
