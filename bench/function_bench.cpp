// Measures functions with Google Benchmark: those that work in memory, and the store operations
// against a Redis server. Each iteration of a benchmark runs the function and its floor in turn;
// the medians go into the rows on standard output.
//
//   function_bench [--quick] [Google Benchmark's options]

#include "bench/function_cases.h"
#include "bench/measurement.h"
#include "bench/store_cases.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <exception>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace {

constexpr double LARGEST_EXPONENT = 1.1;

using Results = std::map<std::string, SideBySide>;

// Why a run failed; nothing for a good one. Google Benchmark 1.8 gave its members other names.
template <class Run>
std::optional<std::string> failureOf(const Run& run) {
    if constexpr (requires { run.error_occurred; }) {
        return run.error_occurred ? std::optional(run.error_message) : std::nullopt;
    } else {
        return run.skipped != 0 ? std::optional(run.skip_message) : std::nullopt;
    }
}

// Tells the figures of each benchmark on standard error as soon as they are there.
class ProgressReporter : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context& /*context*/) override {
        return true;
    }

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (const auto failure = failureOf(run)) {
                failed = true;
                tellProgress(run.benchmark_name() + ": " + *failure);
            } else {
                tellProgress(run.run_name.function_name + ": " +
                             numberText(run.counters.at("ratio"), 2));
            }
        }
    }

    bool failed = false;
};

void runCase(benchmark::State& state, const FunctionCase& function, Results& results) {
    std::vector<double> ours;
    std::vector<double> floor;
    bool oursFirst = true;
    try {
        function.setUp();
        for (auto iteration : state) {
            (void)iteration;
            if (!oursFirst) {
                floor.push_back(function.floor());
            }
            ours.push_back(function.ours());
            if (oursFirst) {
                floor.push_back(function.floor());
            }
            oursFirst = !oursFirst;
            state.SetIterationTime(ours.back());
        }
        function.tearDown();
    } catch (const std::exception& failure) {
        state.SkipWithError(failure.what());
        return;
    }
    const SideBySide costs = {median(ours), median(floor)};
    state.counters["floor"] = costs.floor;
    state.counters["ratio"] = costs.ratio();
    results[function.name] = costs;
}

void registerCases(const FunctionCases& cases, Results& results) {
    for (const FunctionCase& function : cases) {
        benchmark::RegisterBenchmark(
            function.name.c_str(),
            [&function, &results](benchmark::State& state) { runCase(state, function, results); })
            ->UseManualTime()
            ->Iterations(function.rounds);
    }
}

// Rows of those cases that are no mere points of a growth.
void printCases(const FunctionCases& cases, const GrowthGroups& growth, const Results& results) {
    std::map<std::string, bool> isPoint;
    for (const GrowthGroup& group : growth) {
        for (const GrowthPoint& point : group.points) {
            isPoint[point.caseName] = true;
        }
    }
    for (const FunctionCase& function : cases) {
        const auto found = results.find(function.name);
        if (found != results.end() && !isPoint[function.name]) {
            printRow(ratioRow(function.name, found->second, function.largestRatio));
        }
    }
}

void printGrowth(const GrowthGroup& group, const Results& results) {
    std::vector<std::pair<double, double>> ours;
    std::vector<std::pair<double, double>> floor;
    for (const GrowthPoint& point : group.points) {
        const auto found = results.find(point.caseName);
        if (found == results.end()) {
            return;
        }
        ours.emplace_back(point.size(), found->second.ours);
        floor.emplace_back(point.size(), found->second.floor);
    }
    Row row = limitRow(group.name + ": exponent", growthExponent(ours), LARGEST_EXPONENT, "", 2);
    row.ours = timeText(ours.front().second) + " .. " + timeText(ours.back().second);
    row.floor = timeText(floor.front().second) + " .. " + timeText(floor.back().second);
    printRow(row);
}

bool takeFlag(int& count, char** arguments, const char* flag) {
    for (int i = 1; i < count; ++i) {
        if (std::strcmp(arguments[i], flag) == 0) {
            std::copy(arguments + i + 1, arguments + count, arguments + i);
            --count;
            return true;
        }
    }
    return false;
}

int run(int count, char** arguments) {
    const bool quick = takeFlag(count, arguments, "--quick");
    benchmark::Initialize(&count, arguments);
    if (benchmark::ReportUnrecognizedArguments(count, arguments)) {
        return 2;
    }
    Results results;
    const FunctionCases inMemory = memoryCases();
    const StoreBench store(quick);
    registerCases(store.cases(), results);
    registerCases(inMemory, results);
    ProgressReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    printCases(store.cases(), store.growth(), results);
    for (const GrowthGroup& group : store.growth()) {
        printGrowth(group, results);
    }
    printCases(inMemory, {}, results);
    return reporter.failed ? 1 : 0;
}

} // namespace

int main(int count, char** arguments) {
    try {
        return run(count, arguments);
    } catch (const std::exception& failure) {
        (void)std::fprintf(stderr, "function_bench: %s\n", failure.what());
        return 1;
    }
}
