#pragma once

// Numbers with a fraction as the JSON library writes them, in a fraction of its time.

#include <string>

// Makes text what nlohmann::json::dump writes for the number. False, and text is what it was, where
// that is not certain: for a number of more than 9 places or 15 digits in all, for some whose
// shortest decimal is only just read back as the number, and for zero and what is below 0.0001,
// from 1e15 on, or no number.
[[nodiscard]] bool setFractionText(std::string& text, double number);
