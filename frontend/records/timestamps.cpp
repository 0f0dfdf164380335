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

std::optional<std::time_t> timeOfIso(const std::string& text) {
    std::tm read{};
    const char* const end = strptime(text.c_str(), "%Y-%m-%dT%H:%M:%S%z", &read);
    if (end == nullptr || end != text.c_str() + text.size()) {
        return std::nullopt;
    }
    const long offset = read.tm_gmtoff; // timegm reads the rest as UTC
    return timegm(&read) - offset;
}
