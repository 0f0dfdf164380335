#pragma once

// The table that the programs print, section by section, on standard output: a line "# <title>",
// one with the names of the columns, then the rows, columns separated by tabs. Where there are
// goals, the last column is the verdict: "met", "missed", or empty for a row without a goal.

#include "bench/measurement.h"

#include <string>
#include <vector>

using Cells = std::vector<std::string>;

void printSection(const std::string& title, const Cells& columns);
void printRow(const Cells& cells);

// A goal is a largest value, with as many decimals as what is seen; 0 stands for none and gives
// empty texts. The verdict holds for the figure as it is shown.
[[nodiscard]] std::string goalText(double goal, const std::string& unit = "", int decimals = 2);
[[nodiscard]] std::string verdictText(double seen, double goal, int decimals = 2);

// "1.20 (374.2 / 312.1 us)": ratio, cost and floor, with "~" in front when it is not steady.
[[nodiscard]] std::string ratioText(const SideBySide& costs);

// "12.3 us", "4.56 ms" or "1.23 s".
[[nodiscard]] std::string timeText(double seconds);
[[nodiscard]] std::string numberText(double number, int decimals);
