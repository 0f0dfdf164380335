#pragma once

// Rules for texts that come from a client or out of a certificate.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// The number of characters of a text that is valid UTF-8 (RFC 3629) without control characters;
// nothing for any other text.
[[nodiscard]] std::optional<std::size_t> printableLength(std::string_view text);

// The text as it may stand in a message: cut to 64 characters with "..." after them, and "(not a
// text)" for what is not printable.
[[nodiscard]] std::string shownInMessage(std::string_view text);
