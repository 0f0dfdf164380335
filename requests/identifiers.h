#pragma once

// Values that are new each time: entity tags and identifiers of collection members.

#include <string>

// The entity tag (RFC 9110) of a resource written now: the milliseconds since the epoch in decimal,
// between double quotes.
[[nodiscard]] std::string generateEtag();

// A random number of so many bytes (1 to 4) in lower-case hexadecimal without leading zeros, at
// most 8 characters. Empty when the random source cannot be read.
[[nodiscard]] std::string generateRandomId(int byteCount);
