// Measures the whole daemon against a Redis server of its own, and prints one row for each figure.
//
//   daemon_bench [--quick]

#include "bench/board_bench.h"
#include "bench/growth_bench.h"
#include "bench/processors.h"
#include "bench/request_bench.h"
#include "bench/table.h"
#include "bench/timed_front_end.h"
#include "tests/support/redis_server.h"

#include <cstdio>
#include <cstring>
#include <exception>

namespace {

constexpr RequestGoals EMPTY_BACKEND_GOALS = {1.08, 1.04, 1.03, 1.05};
constexpr RequestGoals REFERENCE_BACKEND_GOALS = {1.15, 1.10, 1.10, 1.15};

int run(bool quick) {
    const RedisServer server;
    const int rounds = quick ? 200 : 1500;
    const int requests = quick ? 2000 : 10000;
    printSection("Requests", {"what", "goal", "processor time", "elapsed, one processor",
                              "elapsed, two processors", "verdict"});
    measureRequests(server, {"empty backend", EMPTY_BACKEND_DIRECTORY, EMPTY_BACKEND_GOALS},
                    rounds);
    measureRequests(server, {"reference backend", "", REFERENCE_BACKEND_GOALS}, rounds);
    measureGrowth(server, EMPTY_BACKEND_DIRECTORY, requests, rounds);
    place(Placement::ONE_PROCESSOR, {}, TimedFrontEnd(server.socketPath()).server());
    printSection("The daemon on a board", {"what", "goal", "seen", "verdict"});
    measureSize();
    measureStart(server, quick ? 10 : 40);
    measureResidence(server, quick ? 2 : 10, requests);
    return 0;
}

} // namespace

int main(int count, char** arguments) {
    try {
        const bool quick = count == 2 && std::strcmp(arguments[1], "--quick") == 0;
        if (count > 1 && !quick) {
            (void)std::fprintf(stderr, "usage: daemon_bench [--quick]\n");
            return 2;
        }
        return run(quick);
    } catch (const std::exception& failure) {
        (void)std::fprintf(stderr, "daemon_bench: %s\n", failure.what());
        return 1;
    }
}
