// The build date is compiled in here and nowhere else, so that a new one rebuilds this file alone.

#include "platform/certificate_backend/board_clock.h"

#include <algorithm>
#include <array>
#include <cstdio>

BoardClock systemClock() {
    return {std::time(nullptr), CERTIFICATE_BACKEND_BUILD_DATE};
}

bool isUnset(const BoardClock& clock) {
    return clock.now < clock.buildDate;
}

std::time_t knownTime(const BoardClock& clock) {
    return std::max(clock.now, clock.buildDate);
}

std::string isoTime(const std::tm& utc) {
    std::array<char, 96> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02dZ",
                                    utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_mday, utc.tm_hour,
                                    utc.tm_min, utc.tm_sec));
    return text.data();
}
