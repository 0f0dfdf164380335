#pragma once

// Moments as certificates and resources write them.

#include "platform/x509/openssl_handles.h"

#include <ctime>
#include <optional>
#include <string>

// The moment in UTC; nothing when it cannot be read.
[[nodiscard]] std::optional<std::tm> utcTime(const ASN1_TIME* time);

// The moment as ISO 8601 text in UTC, "2026-01-31T23:59:59Z".
[[nodiscard]] std::string isoTime(const std::tm& utc);

// The moment that such a text names, with "Z" or an offset like "+01:00" at its end; nothing for
// any other text, one with fractions of a second included.
[[nodiscard]] std::optional<std::time_t> isoMoment(const std::string& text);

// The moment as ISO 8601 text in UTC.
[[nodiscard]] std::string isoTime(std::time_t moment);
