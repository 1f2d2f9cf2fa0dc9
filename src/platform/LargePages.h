#pragma once

#include <cstddef>

namespace velorin {

inline constexpr std::size_t kLargePageSize = 2u << 20;

// Asks the system to back memory that is about to be filled with large pages, of which far fewer have to be
// made. Only a hint. `memory` and `size` are multiples of kLargePageSize: what a large page only partly
// covers stays on small ones.
void AdviseLargePages(void* memory, std::size_t size);

} // namespace velorin
