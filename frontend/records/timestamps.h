#pragma once

// Times as they stand in resources.

#include <string>

// The entity tag (RFC 9110) of a resource written now: milliseconds since the epoch between double
// quotes, as the daemon makes them.
[[nodiscard]] std::string entityTag();

// This moment as ISO 8601 text in UTC, "2026-01-31T23:59:59Z".
[[nodiscard]] std::string isoTimeNow();
