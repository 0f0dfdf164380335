#include "platform/x509/dates.h"

#include <array>
#include <cstdio>
#include <string_view>

std::optional<std::tm> utcTime(const ASN1_TIME* time) {
    std::tm utc{};
    return ASN1_TIME_to_tm(time, &utc) == 1 ? std::optional(utc) : std::nullopt;
}

std::string isoTime(const std::tm& utc) {
    std::array<char, 96> text{}; // the compiler counts on years of ten digits
    static_cast<void>(std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02dZ",
                                    utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_mday, utc.tm_hour,
                                    utc.tm_min, utc.tm_sec));
    return text.data();
}

std::optional<std::time_t> isoMoment(const std::string& text) {
    constexpr std::size_t WITH_LETTER = std::string_view("2026-01-31T23:59:59Z").size();
    constexpr std::size_t WITH_OFFSET = std::string_view("2026-01-31T23:59:59+01:00").size();
    const bool hasForm = text.size() == (text.ends_with('Z') ? WITH_LETTER : WITH_OFFSET) &&
                         text.find_first_not_of("0123456789-+:TZ") == std::string::npos;
    std::tm moment{};
    const char* end = hasForm ? strptime(text.c_str(), "%Y-%m-%dT%H:%M:%S%z", &moment) : nullptr;
    if (end == nullptr || *end != '\0') {
        return std::nullopt;
    }
    const long offset = moment.tm_gmtoff; // timegm clears it
    return timegm(&moment) - offset;
}

std::string isoTime(std::time_t moment) {
    std::tm utc{};
    (void)gmtime_r(&moment, &utc);
    return isoTime(utc);
}
