#pragma once

// Functions to be measured, each beside its floor.

#include "bench/measurement.h"

#include <functional>
#include <string>
#include <vector>

// A run of either side does untimed what it has to prepare.
struct FunctionCase {
    std::string name;
    double goal = 0; // largest ratio of the processor times; 0: none
    int rounds = 0;
    Run ours;
    Run floor;
    std::function<void()> setUp = [] {};    // once, before the first run
    std::function<void()> tearDown = [] {}; // once, after the last
};
using FunctionCases = std::vector<FunctionCase>;

// One function at growing sizes: its processor time is to grow no faster than the size.
struct GrowthPoint {
    FunctionCase function;
    std::function<double()> size; // known when the case has run
};
struct GrowthGroup {
    std::string name;
    double goal = 0; // largest exponent
    std::vector<GrowthPoint> points;
};
using GrowthGroups = std::vector<GrowthGroup>;

// Functions that work in memory. The floor is the least that must be done with the same bytes: one
// copy of a text, or of finished wire bytes into the connection's output buffer.
[[nodiscard]] FunctionCases memoryCases();
