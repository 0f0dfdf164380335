#include "bench/table.h"

#include <array>
#include <cstdio>

namespace {

struct TimeUnit {
    double seconds;
    int decimals;
    const char* name;
};

TimeUnit unitFor(double seconds) {
    constexpr TimeUnit NANO = {1e-9, 0, "ns"};
    constexpr TimeUnit MICRO = {1e-6, 1, "us"};
    constexpr TimeUnit MILLI = {1e-3, 2, "ms"};
    constexpr TimeUnit WHOLE = {1, 2, "s"};
    if (seconds < MICRO.seconds) {
        return NANO;
    }
    if (seconds < MILLI.seconds) {
        return MICRO;
    }
    return seconds < 1 ? MILLI : WHOLE;
}

std::string inUnit(double seconds, const TimeUnit& unit) {
    return numberText(seconds / unit.seconds, unit.decimals);
}

} // namespace

void printRow(const Cells& cells) {
    const char* separator = "";
    for (const std::string& cell : cells) {
        (void)std::printf("%s%s", separator, cell.c_str());
        separator = "\t";
    }
    (void)std::printf("\n");
    (void)std::fflush(stdout);
}

void printSection(const std::string& title, const Cells& columns) {
    printRow({"# " + title});
    printRow(columns);
}

std::string goalText(double goal, const std::string& unit, int decimals) {
    return goal > 0 ? "<= " + numberText(goal, decimals) + unit : "";
}

std::string verdictText(double seen, double goal, int decimals) {
    if (goal <= 0) {
        return "";
    }
    return std::stod(numberText(seen, decimals)) <= goal ? "met" : "missed";
}

std::string ratioText(const SideBySide& costs) {
    const TimeUnit unit = unitFor(costs.floor);
    return (costs.steady ? "" : "~") + numberText(costs.ratio(), 2) + " (" +
           inUnit(costs.ours, unit) + " / " + inUnit(costs.floor, unit) + " " + unit.name + ")";
}

std::string numberText(double number, int decimals) {
    std::array<char, 64> text{};
    (void)std::snprintf(text.data(), text.size(), "%.*f", decimals, number);
    return text.data();
}

std::string timeText(double seconds) {
    const TimeUnit unit = unitFor(seconds);
    return inUnit(seconds, unit) + " " + unit.name;
}
