#pragma once

#include <cstdint>
#include <ctime>

namespace mrb {

constexpr std::int64_t nanoseconds(std::int64_t seconds, std::int64_t rest) {
    return seconds * 1'000'000'000 + rest;
}

// The clock of the kernel's file timestamps, in nanoseconds since 1970: never ahead of
// them.
inline std::int64_t fileTime() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME_COARSE, &now);
    return nanoseconds(now.tv_sec, now.tv_nsec);
}

} // namespace mrb
