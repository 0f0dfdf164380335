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
