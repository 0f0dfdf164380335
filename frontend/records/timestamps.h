#pragma once

// Times as they stand in resources.

#include <ctime>
#include <optional>
#include <string>

// The entity tag (RFC 9110) of a resource written now: milliseconds since the epoch between double
// quotes, as the daemon makes them.
[[nodiscard]] std::string entityTag();

// This moment as ISO 8601 text in UTC, "2026-01-31T23:59:59Z".
[[nodiscard]] std::string isoTimeNow();

// The moment of an ISO 8601 text with Z or an offset behind it; nothing for another text.
[[nodiscard]] std::optional<std::time_t> timeOfIso(const std::string& text);
