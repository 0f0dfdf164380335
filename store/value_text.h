#pragma once

// Scalars as they stand in Redis: compact JSON text (RFC 8259) on writing; on reading, a few fixed
// rules instead of a JSON parser, which other writers of the same keys rely on.
//
// Reading, first rule that fits:
//   1. in double quotes: a string; every backslash is dropped and the character behind it kept, so
//      escapes other than of quote and backslash are not interpreted
//   2. true, false, null
//   3. with a point: the double that a standard stream extracts from the front of the text
//   4. without a point: the signed 64-bit decimal integer at the front of the text, in the same way
//   5. the text itself, as a string

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <string_view>

[[nodiscard]] nlohmann::json decodeValueText(std::string_view text);

// The compact JSON text of a scalar, UTF-8 as it is. Empty, and told on standard error, when the
// value is a string that is no valid UTF-8.
[[nodiscard]] std::string compactJsonText(const nlohmann::json& value);

// Makes text the same.
void setJsonText(std::string& text, const nlohmann::json& value);

// The stored form of a string in which nothing is escaped: the text between double quotes.
[[nodiscard]] std::string quotedText(const std::string& text);
