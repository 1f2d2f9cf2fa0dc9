#pragma once

#include <cstddef>

namespace velorin {

inline constexpr std::size_t kLargePageSize = 2u << 20;

// Asks the system to back memory that is about to be filled with large pages, of which far fewer have to be
// made. Only a hint. `memory` and `size` are multiples of kLargePageSize: what a large page only partly
// covers stays on small ones.
void AdviseLargePages(void* memory, std::size_t size);

// Tells the system that it may take the pages, and what is in them, whenever it runs short of memory. Nobody
// touches them from here on (in a build with the address sanitizer that is an error), until they are in use
// again. `memory` and `size` as above.
void MarkPagesUnused(void* memory, std::size_t size);
void MarkPagesUsed(void* memory, std::size_t size);

} // namespace velorin
