#pragma once

#include "platform/LargePages.h"

#include <cstddef>
#include <vector>

namespace velorin {

// Makes room for `count` values that are about to fill an empty vector, on large pages when they are many.
template <class T>
void ReserveLarge(std::vector<T>& values, std::size_t count) {
    constexpr std::size_t kWorthIt = 4u << 20;
    values.reserve(count);
    if (count * sizeof(T) >= kWorthIt) AdviseLargePages(values.data(), count * sizeof(T));
}

} // namespace velorin
