#pragma once

#include <cstdint>

namespace velorin {

// A monotonic counter and its steps per second, which never change while the process runs.
[[nodiscard]] std::int64_t MonotonicTicks();
[[nodiscard]] std::int64_t MonotonicFrequency();
[[nodiscard]] inline double MonotonicSeconds() {
    return static_cast<double>(MonotonicTicks()) / static_cast<double>(MonotonicFrequency());
}

struct LocalTime {
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0; // month and day from 1
};
[[nodiscard]] LocalTime CurrentLocalTime();

// Seconds since 1970 in UTC.
[[nodiscard]] double WallSeconds();

} // namespace velorin
