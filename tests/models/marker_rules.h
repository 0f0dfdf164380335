#pragma once

// What the functions of store/markers.h must say of a text, by the regular expressions and the
// tokens that they stand for.

#include <string>

// The rule that does not hold for the text; empty when all do. Meant for texts short enough for
// std::regex.
[[nodiscard]] std::string brokenMarkerRule(const std::string& text);
