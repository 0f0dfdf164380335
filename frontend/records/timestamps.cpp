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
    return isoTime(std::time(nullptr));
}
