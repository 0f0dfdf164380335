#include "frontend/records/timestamps.h"

#include "platform/x509/dates.h"

#include <array>
#include <chrono>
#include <ctime>

std::string entityTag() {
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(sinceEpoch).count();
    return '"' + std::to_string(milliseconds) + '"';
}

std::string isoTimeNow() {
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    (void)gmtime_r(&now, &utc);
    return isoTime(utc);
}
