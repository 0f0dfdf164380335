#pragma once

// A hiredis connection of a benchmark's own.

#include <hiredis/hiredis.h>

#include <memory>
#include <stdexcept>
#include <string>

struct ConnectionDeleter {
    void operator()(redisContext* context) const {
        redisFree(context);
    }
};
using BenchConnection = std::unique_ptr<redisContext, ConnectionDeleter>;

// Throws std::runtime_error when nobody listens there.
[[nodiscard]] inline BenchConnection connectTo(const std::string& socketPath) {
    BenchConnection connection(redisConnectUnix(socketPath.c_str()));
    if (!connection || connection->err != 0) {
        throw std::runtime_error("cannot connect to " + socketPath);
    }
    return connection;
}
