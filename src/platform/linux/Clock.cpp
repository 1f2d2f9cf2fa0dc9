#include "platform/Clock.h"

#include <ctime>

namespace velorin {

std::int64_t MonotonicTicks() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::int64_t>(now.tv_sec) * MonotonicFrequency() + now.tv_nsec;
}

std::int64_t MonotonicFrequency() {
    return 1'000'000'000;
}

LocalTime CurrentLocalTime() {
    const std::time_t now = std::time(nullptr);
    tm parts{};
    localtime_r(&now, &parts);
    return {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec};
}

double WallSeconds() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

} // namespace velorin
