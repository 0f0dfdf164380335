#pragma once

// An independent splitting of markers.

#include <string>
#include <vector>

// The text's pieces between blanks; a run of blanks separates like a single one.
[[nodiscard]] std::vector<std::string> tokensOf(const std::string& text);
