#pragma once

// Value texts read with standard streams.

#include <nlohmann/json.hpp>

#include <string>

[[nodiscard]] nlohmann::json decodeByStreams(const std::string& text);

// Type and exact value, a double to its last bit.
[[nodiscard]] std::string describeExactly(const nlohmann::json& value);
