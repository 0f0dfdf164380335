#pragma once

// What is said about a command line that cannot be understood.

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

// In lines: what is wrong, with the nearest name where a command or an option is unknown; then
// where to read more.
[[nodiscard]] std::vector<std::string> usageErrorLines(const CLI::App& program,
                                                       const CLI::ParseError& error);

// The name that differs least from the word; empty when none is near.
[[nodiscard]] std::string nearestName(const std::string& word,
                                      const std::vector<std::string>& names);
