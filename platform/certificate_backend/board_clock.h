#pragma once

// The time by which certificates are judged.

#include <ctime>

struct BoardClock {
    std::time_t now = 0;       // seconds since the epoch
    std::time_t buildDate = 0; // when this library was built
};

// The system's clock and the date of this build.
[[nodiscard]] BoardClock systemClock();

// A board without a battery starts in the past. A clock before the build date is plainly unset.
[[nodiscard]] bool isUnset(const BoardClock& clock);

// The best that is known of the current time: the clock, or the build date when the clock is unset.
[[nodiscard]] std::time_t knownTime(const BoardClock& clock);
