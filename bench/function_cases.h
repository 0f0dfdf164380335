#pragma once

// Functions to be measured, each beside its floor.

#include <functional>
#include <string>
#include <vector>

// Each call of ours or floor does what it has to prepare, then gives the seconds of one run.
struct FunctionCase {
    std::string name;
    double largestRatio = 0; // goal; 0: none
    int rounds = 0;
    std::function<double()> ours;
    std::function<double()> floor;
    std::function<void()> setUp = [] {};    // once, before the first run
    std::function<void()> tearDown = [] {}; // once, after the last
};
using FunctionCases = std::vector<FunctionCase>;

// Cases of one function at growing sizes: the cost is to grow no faster than the size.
struct GrowthPoint {
    std::string caseName;
    std::function<double()> size; // known when the case has run
};
struct GrowthGroup {
    std::string name;
    std::vector<GrowthPoint> points;
};
using GrowthGroups = std::vector<GrowthGroup>;

// Functions that work in memory. The floor is the least that must be done with the same bytes: one
// copy of a text, or of finished wire bytes into the connection's output buffer.
[[nodiscard]] FunctionCases memoryCases();
