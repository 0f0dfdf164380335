#include "bench/measurement.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <system_error>

namespace {

constexpr double LARGEST_DIFFERENCE = 0.1;
constexpr std::size_t MOST_TIMES_ROUNDS = 4;

double secondsOf(clockid_t clock) {
    timespec time{};
    (void)clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

using Clock = double Cost::*;

// The costs of all rounds so far, in the order in which they were taken.
class Rounds {
public:
    void take(int rounds, const Run& ours, const Run& floor) {
        for (int round = 0; round < rounds; ++round) {
            if (mOurs.size() % 2 == 0) {
                mOurs.push_back(ours());
                mFloor.push_back(floor());
            } else {
                mFloor.push_back(floor());
                mOurs.push_back(ours());
            }
        }
    }

    [[nodiscard]] std::size_t size() const {
        return mOurs.size();
    }

    [[nodiscard]] SideBySide by(Clock clock) const {
        SideBySide costs = between(clock, 0, size());
        const double first = between(clock, 0, size() / 2).ratio();
        const double second = between(clock, size() / 2, size()).ratio();
        costs.steady = std::abs(first - second) <= LARGEST_DIFFERENCE * std::min(first, second);
        return costs;
    }

private:
    [[nodiscard]] SideBySide between(Clock clock, std::size_t from, std::size_t to) const {
        std::vector<double> ours;
        std::vector<double> floor;
        for (std::size_t i = from; i < to; ++i) {
            ours.push_back(mOurs[i].*clock);
            floor.push_back(mFloor[i].*clock);
        }
        return {median(ours), median(floor)};
    }

    std::vector<Cost> mOurs;
    std::vector<Cost> mFloor;
};

} // namespace

double now() {
    const auto time = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double>(time).count();
}

double processorTimeOf(pid_t process) {
    clockid_t clock{};
    const int failure = clock_getcpuclockid(process, &clock);
    if (failure != 0) {
        throw std::system_error(failure, std::generic_category(), "no clock of a process");
    }
    return secondsOf(clock);
}

Cost costOf(const std::function<void()>& call) {
    const double processorStart = secondsOf(CLOCK_THREAD_CPUTIME_ID);
    const double start = now();
    call();
    const double elapsed = now() - start;
    return {secondsOf(CLOCK_THREAD_CPUTIME_ID) - processorStart, elapsed};
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

Comparison compare(int rounds, const Run& ours, const Run& floor) {
    Rounds taken;
    const std::size_t most = MOST_TIMES_ROUNDS * static_cast<std::size_t>(rounds);
    Comparison costs;
    do {
        taken.take(rounds, ours, floor);
        costs = {taken.by(&Cost::processor), taken.by(&Cost::elapsed)};
    } while (!(costs.processor.steady && costs.elapsed.steady) && taken.size() < most);
    return costs;
}

void tellProgress(const std::string& what) {
    (void)std::fprintf(stderr, "bench: %s\n", what.c_str());
}
