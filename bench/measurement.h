#pragma once

// What runs cost by two clocks, and the comparison of two costs that are taken side by side.

#include <sys/types.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

// The cost of one run, in seconds.
struct Cost {
    double processor = 0; // that the measured thread or process was running
    double elapsed = 0;
};
using Run = std::function<Cost()>;

// Seconds, by a clock that only goes forward.
[[nodiscard]] double now();

// Seconds that all threads of the process have been running. Throws std::system_error when it is
// gone.
[[nodiscard]] double processorTimeOf(pid_t process);

// What the call costs the calling thread.
[[nodiscard]] Cost costOf(const std::function<void()>& call);

// The middle value; 0 for none.
[[nodiscard]] double median(std::vector<double> values);

// The power of the size with which the cost grows, by least squares over (size, cost): 1 is linear,
// 2 quadratic.
[[nodiscard]] double growthExponent(const std::vector<std::pair<double, double>>& costs);

// Two costs by one clock, as medians in seconds.
struct SideBySide {
    double ours = 0;
    double floor = 0;
    bool steady = true; // both halves of the rounds give nearly the same ratio

    [[nodiscard]] double ratio() const {
        return floor > 0 ? ours / floor : 0;
    }
};

struct Comparison {
    SideBySide processor;
    SideBySide elapsed;
};

// Takes both costs in turn, with the order changed every round. While the ratios of the first and
// of the second half of the rounds differ by more than a tenth, it takes as many rounds again, up
// to four times as many as asked for.
[[nodiscard]] Comparison compare(int rounds, const Run& ours, const Run& floor);

// Tells the person who waits what is being measured, on standard error.
void tellProgress(const std::string& what);
