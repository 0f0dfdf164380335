#pragma once

// The text that --help shows, within 80 columns. It is laid out here, because the layout of the
// library that reads the command line differs between its versions and does not break lines.

#include <CLI/CLI.hpp>

#include <cstddef>
#include <string>

inline constexpr std::size_t HELP_WIDTH = 80;

struct HelpText : CLI::Formatter {
    [[nodiscard]] std::string make_help(const CLI::App* app, std::string name,
                                        CLI::AppFormatMode mode) const override;
};

// The text in lines of at most so many columns, broken at blanks; a word that is longer stands
// alone. From the second line on with so many blanks in front. No line end behind the last line.
[[nodiscard]] std::string wrapText(const std::string& text, std::size_t width, std::size_t indent);
