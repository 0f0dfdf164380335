// The build date is compiled in here and nowhere else, so that a new one rebuilds this file alone.

#include "platform/certificate_backend/board_clock.h"

#include <algorithm>

BoardClock systemClock() {
    return {std::time(nullptr), CERTIFICATE_BACKEND_BUILD_DATE};
}

bool isUnset(const BoardClock& clock) {
    return clock.now < clock.buildDate;
}

std::time_t knownTime(const BoardClock& clock) {
    return std::max(clock.now, clock.buildDate);
}
