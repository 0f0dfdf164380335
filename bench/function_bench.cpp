// Measures functions with Google Benchmark: the store operations against a Redis server, and those
// that work in memory. One iteration of a benchmark is the whole comparison of a function with its
// floor; the medians go into the table on standard output.
//
//   function_bench [--quick] [Google Benchmark's options]

#include "bench/function_cases.h"
#include "bench/store_cases.h"
#include "bench/store_stage.h"
#include "bench/table.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <exception>
#include <map>
#include <optional>

namespace {

struct Result {
    Comparison oneProcessor;
    std::optional<SideBySide> onTwo; // elapsed
};
using Results = std::map<std::string, Result>;

// Measures one case.
using Measure = std::function<Result(const FunctionCase&)>;

// Why a run failed; nothing for a good one. Google Benchmark 1.8 gave its members other names.
template <class BenchmarkRun>
std::optional<std::string> failureOf(const BenchmarkRun& run) {
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

Comparison compareSides(const FunctionCase& function) {
    return compare(function.rounds, function.ours, function.floor);
}

// Beside a server on the same processor, then, when it is to be seen too, on another one.
Result measureStore(const StoreStage& stage, const FunctionCase& function, bool onTwo) {
    stage.placeServer(Placement::ONE_PROCESSOR);
    function.setUp();
    Result result{compareSides(function), std::nullopt};
    if (onTwo && hasTwoProcessors()) {
        stage.placeServer(Placement::TWO_PROCESSORS);
        result.onTwo = compareSides(function).elapsed;
    }
    function.tearDown();
    return result;
}

void runBenchmark(benchmark::State& state, const FunctionCase& function, const Measure& measure,
                  Results& results) {
    try {
        for (auto iteration : state) {
            (void)iteration;
            const Result result = measure(function);
            results[function.name] = result;
            state.SetIterationTime(result.oneProcessor.processor.ours);
            state.counters["ratio"] = result.oneProcessor.processor.ratio();
        }
    } catch (const std::exception& failure) {
        state.SkipWithError(failure.what());
    }
}

void registerCase(const FunctionCase& function, const Measure& measure, Results& results) {
    benchmark::RegisterBenchmark(function.name.c_str(),
                                 [&function, &results, measure](benchmark::State& state) {
                                     runBenchmark(state, function, measure, results);
                                 })
        ->UseManualTime()
        ->Iterations(1);
}

void printStore(const FunctionCases& cases, const Results& results) {
    printSection("Store operations", {"what", "goal", "processor time", "elapsed, one processor",
                                      "elapsed, two processors", "verdict"});
    for (const FunctionCase& function : cases) {
        const auto found = results.find(function.name);
        if (found != results.end()) {
            const auto& [one, onTwo] = found->second;
            printRow({function.name, goalText(function.goal), ratioText(one.processor),
                      ratioText(one.elapsed), onTwo ? ratioText(*onTwo) : "",
                      verdictText(one.processor.ratio(), function.goal)});
        }
    }
}

void printMemory(const FunctionCases& cases, const Results& results) {
    printSection("Functions in memory", {"what", "processor time"});
    for (const FunctionCase& function : cases) {
        const auto found = results.find(function.name);
        if (found != results.end()) {
            printRow({function.name, ratioText(found->second.oneProcessor.processor)});
        }
    }
}

// Sizes and costs of one side; nothing when a point has not been measured.
std::vector<std::pair<double, double>> costsOf(const GrowthGroup& group, const Results& results,
                                               double SideBySide::*side) {
    std::vector<std::pair<double, double>> costs;
    for (const GrowthPoint& point : group.points) {
        const auto found = results.find(point.function.name);
        if (found == results.end()) {
            return {};
        }
        costs.emplace_back(point.size(), found->second.oneProcessor.processor.*side);
    }
    return costs;
}

void printGrowth(const GrowthGroups& groups, const Results& results) {
    printSection("Growth of the processor time",
                 {"what", "goal", "exponent", "floor's exponent", "from .. to", "verdict"});
    for (const GrowthGroup& group : groups) {
        const auto ours = costsOf(group, results, &SideBySide::ours);
        const auto floor = costsOf(group, results, &SideBySide::floor);
        if (!ours.empty()) {
            const double exponent = growthExponent(ours);
            printRow({group.name, goalText(group.goal), numberText(exponent, 2),
                      numberText(growthExponent(floor), 2),
                      timeText(ours.front().second) + " .. " + timeText(ours.back().second),
                      verdictText(exponent, group.goal)});
        }
    }
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
    const StoreStage stage;
    const FunctionCases store = storeCases(stage, quick);
    const GrowthGroups growth = storeGrowth(stage, quick);
    const FunctionCases inMemory = memoryCases();
    Results results;
    const auto measure = [&stage](bool onTwo) {
        return [&stage, onTwo](const FunctionCase& function) {
            return measureStore(stage, function, onTwo);
        };
    };
    for (const FunctionCase& function : store) {
        registerCase(function, measure(true), results);
    }
    for (const GrowthGroup& group : growth) {
        for (const GrowthPoint& point : group.points) {
            registerCase(point.function, measure(false), results);
        }
    }
    for (const FunctionCase& function : inMemory) {
        registerCase(
            function,
            [](const FunctionCase& each) {
                return Result{compareSides(each), {}};
            },
            results);
    }
    ProgressReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    printStore(store, results);
    printGrowth(growth, results);
    printMemory(inMemory, results);
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
