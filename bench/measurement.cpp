#include "bench/measurement.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>

double now() {
    const auto time = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double>(time).count();
}

double timeOf(const std::function<void()>& call) {
    const double start = now();
    call();
    return now() - start;
}

double median(std::vector<double> values) {
    if (values.empty()) {
        return 0;
    }
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    if (values.size() % 2 == 1) {
        return *middle;
    }
    return (*middle + *std::max_element(values.begin(), middle)) / 2;
}

double growthExponent(const std::vector<std::pair<double, double>>& costs) {
    double sizeMean = 0;
    double costMean = 0;
    for (const auto& [size, cost] : costs) {
        sizeMean += std::log(size) / static_cast<double>(costs.size());
        costMean += std::log(cost) / static_cast<double>(costs.size());
    }
    double covariance = 0;
    double variance = 0;
    for (const auto& [size, cost] : costs) {
        covariance += (std::log(size) - sizeMean) * (std::log(cost) - costMean);
        variance += (std::log(size) - sizeMean) * (std::log(size) - sizeMean);
    }
    return variance > 0 ? covariance / variance : 0;
}

SideBySide measureSideBySide(int rounds, const std::function<double()>& ours,
                             const std::function<double()>& floor) {
    std::vector<double> oursTimes;
    std::vector<double> floorTimes;
    for (int round = 0; round < rounds; ++round) {
        if (round % 2 == 0) {
            oursTimes.push_back(ours());
            floorTimes.push_back(floor());
        } else {
            floorTimes.push_back(floor());
            oursTimes.push_back(ours());
        }
    }
    return {median(oursTimes), median(floorTimes)};
}

void printRow(const Row& row) {
    (void)std::printf("%s\t%s\t%s\t%s\t%s\t%s\n", row.what.c_str(), row.goal.c_str(),
                      row.seen.c_str(), row.ours.c_str(), row.floor.c_str(), row.verdict.c_str());
    (void)std::fflush(stdout);
}

Row ratioRow(const std::string& what, const SideBySide& costs, double largestRatio) {
    Row row{what, "", numberText(costs.ratio(), 2), timeText(costs.ours), timeText(costs.floor),
            ""};
    if (largestRatio > 0) {
        row.goal = "<= " + numberText(largestRatio, 2);
        row.verdict = costs.ratio() <= largestRatio ? "met" : "missed";
    }
    return row;
}

Row limitRow(const std::string& what, double seen, double limit, const std::string& unit,
             int decimals) {
    return {what,
            "<= " + numberText(limit, decimals) + unit,
            numberText(seen, decimals) + unit,
            "",
            "",
            seen <= limit ? "met" : "missed"};
}

std::string numberText(double number, int decimals) {
    std::array<char, 64> text{};
    (void)std::snprintf(text.data(), text.size(), "%.*f", decimals, number);
    return text.data();
}

std::string timeText(double seconds) {
    constexpr double MILLI = 1e-3;
    constexpr double MICRO = 1e-6;
    if (seconds < MICRO) {
        return numberText(seconds / 1e-9, 0) + " ns";
    }
    if (seconds < MILLI) {
        return numberText(seconds / MICRO, 1) + " us";
    }
    return seconds < 1 ? numberText(seconds / MILLI, 2) + " ms" : numberText(seconds, 2) + " s";
}

void tellProgress(const std::string& what) {
    (void)std::fprintf(stderr, "bench: %s\n", what.c_str());
}
