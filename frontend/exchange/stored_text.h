#pragma once

// Texts and values between JSON and the stored form.
//
// Readers of the stored form drop every backslash of a text in quotes and keep the character behind
// it, so a line feed written as \n would reach the daemon as the letter n. The front end therefore
// stores line ends and other control characters as they are, and puts a backslash before quotes and
// backslashes only. The daemon writes JSON texts; these are read as JSON, so that a certificate's
// lines are lines again.

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <string_view>

// The text in the form in which the daemon reads back exactly this text.
[[nodiscard]] std::string storedText(std::string_view text);

// The value that a stored text stands for: its JSON value, or what the daemon would read.
[[nodiscard]] nlohmann::json storedValue(std::string_view stored);

// storedValue as a text; empty for a value that is no string.
[[nodiscard]] std::string storedString(std::string_view stored);

[[nodiscard]] bool isValidUtf8(std::string_view text);
