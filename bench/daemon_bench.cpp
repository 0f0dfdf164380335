// Measures the whole daemon against a Redis server of its own, and prints one row for each figure.
//
//   daemon_bench [--quick]

#include "bench/board_bench.h"
#include "bench/growth_bench.h"
#include "bench/request_bench.h"
#include "tests/support/redis_server.h"

#include <cstdio>
#include <cstring>
#include <exception>

namespace {

constexpr double EMPTY_BACKEND_GOAL = 1.2;
constexpr double REFERENCE_BACKEND_GOAL = 1.1;

int run(bool quick) {
    const RedisServer server;
    const int rounds = quick ? 200 : 2000;
    const int requests = quick ? 2000 : 10000;
    measureRequests(server, {"empty backend", EMPTY_BACKEND_DIRECTORY, EMPTY_BACKEND_GOAL}, rounds);
    measureRequests(server, {"reference backend", "", REFERENCE_BACKEND_GOAL}, rounds);
    measureGrowth(server, EMPTY_BACKEND_DIRECTORY, requests, rounds);
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
