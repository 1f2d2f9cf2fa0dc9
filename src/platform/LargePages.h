#pragma once

#include <cstddef>

namespace velorin {

// Asks the system to back memory that is about to be filled with large pages, of which far fewer have to be
// made. Only a hint; worth it from some megabytes on.
void AdviseLargePages(void* memory, std::size_t size);

} // namespace velorin
