#pragma once

// Figures of repeated measurements, and the rows that report them.

#include <functional>
#include <string>
#include <utility>
#include <vector>

// Seconds, by a clock that only goes forward.
[[nodiscard]] double now();

// Seconds that the call takes.
[[nodiscard]] double timeOf(const std::function<void()>& call);

// The middle value; 0 for none.
[[nodiscard]] double median(std::vector<double> values);

// The power of the size with which the cost grows, by least squares over (size, cost): 1 is linear,
// 2 quadratic.
[[nodiscard]] double growthExponent(const std::vector<std::pair<double, double>>& costs);

// Two costs taken side by side, as medians in seconds.
struct SideBySide {
    double ours = 0;
    double floor = 0;

    [[nodiscard]] double ratio() const {
        return floor > 0 ? ours / floor : 0;
    }
};

// Runs both in turn, each after its own untimed preparation, with the order changed every round.
[[nodiscard]] SideBySide measureSideBySide(int rounds, const std::function<double()>& ours,
                                           const std::function<double()>& floor);

// One line of the table. The verdict is "met", "missed", or empty where no goal is set.
struct Row {
    std::string what;
    std::string goal;
    std::string seen;
    std::string ours;
    std::string floor;
    std::string verdict;
};

// Prints the row to standard output, its columns separated by tabs.
void printRow(const Row& row);

// A row whose goal is a largest ratio; 0 for none.
[[nodiscard]] Row ratioRow(const std::string& what, const SideBySide& costs, double largestRatio);

// A row whose goal is a largest value of that figure, both with these many decimals.
[[nodiscard]] Row limitRow(const std::string& what, double seen, double limit,
                           const std::string& unit, int decimals);

// "12.3 us", "4.56 ms" or "1.23 s".
[[nodiscard]] std::string timeText(double seconds);
[[nodiscard]] std::string numberText(double number, int decimals);

// Tells the person who waits what is being measured, on standard error.
void tellProgress(const std::string& what);
