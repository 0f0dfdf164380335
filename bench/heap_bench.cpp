// Measures the heap that reading and writing a large document takes, as a ratio to the heap of the
// document itself, and prints one row for each figure. It is a program of its own because counting
// takes time.
//
//   heap_bench [--quick], which is quick in any case

#include "bench/counting_heap.h"
#include "bench/documents.h"
#include "bench/store_case.h"
#include "bench/table.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <exception>

namespace {

using nlohmann::json;

constexpr std::size_t ELEMENTS = 10000;
constexpr double BYTES_PER_KIB = 1024;

std::string kibText(double bytes) {
    return numberText(bytes / BYTES_PER_KIB, 0) + " KiB";
}

void printPeak(const std::string& what, double goal, double peak, double document) {
    const double ratio = peak / document;
    printRow({what, goalText(goal), numberText(ratio, 2), kibText(peak), kibText(document),
              verdictText(ratio, goal)});
}

// A connection of its own for each: its buffers count, and they must not have grown before.
double peakOf(const StoreStage& stage, const StoreCall& call) {
    const RedisConnection connection = stage.connect();
    return heapUseOf([&] { call(connection.get()); }).peak;
}

void measure(const StoreStage& stage, const std::string& name, const Document& document,
             double writeGoal) {
    constexpr double READ_GOAL = 1.4;
    json copy;
    const double own = heapUseOf([&] { copy = *document; }).kept;
    stage.restore({});
    printPeak(name + ": written new", writeGoal, peakOf(stage, writing(document)), own);
    json read; // outlives the call: the library takes memory to destroy a document
    const auto readInto = [&read](redisContext* context) { readResource(context, read); };
    printPeak(name + ": read, with the document", READ_GOAL, peakOf(stage, readInto), own);
}

void run() {
    const StoreStage stage;
    printSection("Peak of the heap", {"what", "goal", "ratio", "peak", "document", "verdict"});
    measure(stage, "10,000 scalars", std::make_shared<json>(scalarArray(ELEMENTS)), 2.3);
    measure(stage, "10,000 objects", std::make_shared<json>(objectArray(ELEMENTS)), 1.0);
}

} // namespace

int main() {
    try {
        run();
        return 0;
    } catch (const std::exception& failure) {
        (void)std::fprintf(stderr, "heap_bench: %s\n", failure.what());
        return 1;
    }
}
