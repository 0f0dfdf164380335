#pragma once

// Moments until which something is waited for, by a clock that only goes forward.

#include <chrono>

using Clock = std::chrono::steady_clock;

// The moment so many seconds from now.
[[nodiscard]] inline Clock::time_point deadlineIn(double seconds) {
    return Clock::now() +
           std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

[[nodiscard]] inline double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}
