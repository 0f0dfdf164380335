#pragma once

// Connections and replies of a benchmark's own, as hiredis gives them.

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

struct ReplyDeleter {
    void operator()(redisReply* reply) const {
        freeReplyObject(reply);
    }
};
using BenchReply = std::unique_ptr<redisReply, ReplyDeleter>;

// Throws std::runtime_error when nobody listens there.
[[nodiscard]] inline BenchConnection connectTo(const std::string& socketPath) {
    BenchConnection connection(redisConnectUnix(socketPath.c_str()));
    if (!connection || connection->err != 0) {
        throw std::runtime_error("cannot connect to " + socketPath);
    }
    return connection;
}
