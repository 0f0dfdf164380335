#pragma once

// Rules for texts that come from a client or out of a certificate.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// The number of characters of a text that is valid UTF-8 (RFC 3629) without control characters and
// without those that change how the text beside them is shown or that are none: U+2028, U+2029 and
// the Unicode properties Bidi_Control and Noncharacter_Code_Point; nothing for any other text.
[[nodiscard]] std::optional<std::size_t> printableLength(std::string_view text);

// The text with each byte of such a character, control characters apart, as a backslash and two
// hexadecimal digits (RFC 4514, 2.4): "\E2\80\AE" for U+202E.
[[nodiscard]] std::string withMisleadingEscaped(std::string_view text);

// The text as a client may be shown it: each byte that belongs to no printable character in the
// same form, control characters and what is no UTF-8 included.
[[nodiscard]] std::string withUnprintableEscaped(std::string_view text);

// The text as it may stand in a message: cut to 64 characters with "..." after them, and "(not a
// text)" for what is not printable.
[[nodiscard]] std::string shownInMessage(std::string_view text);
