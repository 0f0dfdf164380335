#include "platform/x509/dates.h"

#include <array>
#include <cstdio>

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
