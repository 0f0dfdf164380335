#pragma once

// Finds a setting in the text of a configuration file. The syntax is the one that
// platform/configuration.h describes.

#include <optional>
#include <string_view>

// The value of key in text, a view into text, without the blanks around it; empty for "key=".
// Nothing when no line sets key, and for an empty separator or key. Any bytes may stand in text,
// NUL too. Cost is linear in the length of text.
[[nodiscard]] std::optional<std::string_view>
findConfigValue(std::string_view text, std::string_view separator, std::string_view key);
