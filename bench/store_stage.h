#pragma once

// The database that store operations are measured on.

#include "bench/connection.h"
#include "bench/exchange.h"
#include "bench/processors.h"
#include "core/redis_connection.h"
#include "tests/support/redis_server.h"
#include "tests/support/temp_files.h"

#include <functional>

using StoreCall = std::function<void(redisContext*)>;

class StoreStage {
public:
    // Starts a Redis server of its own.
    StoreStage();

    // A connection as the daemon makes it.
    [[nodiscard]] redisContext* ours() const {
        return mOurs.get();
    }

    // Another one. Throws std::runtime_error when it fails.
    [[nodiscard]] RedisConnection connect() const;

    // One as hiredis makes it.
    [[nodiscard]] redisContext* floor() const {
        return mFloor.get();
    }

    void placeServer(Placement placement) const;

    // Empties the database and puts the content into it.
    void restore(const Exchanges& content) const;

    // The exchanges of a call on a database with this content. Throws std::runtime_error when it is
    // never recorded twice the same.
    [[nodiscard]] Exchanges capture(const Exchanges& content, const StoreCall& call) const;

private:
    [[nodiscard]] Exchanges captureOnce(const Exchanges& content, const StoreCall& call) const;

    RedisServer mServer;
    TempDirectory mDirectory;
    RedisConnection mOurs;
    BenchConnection mFloor;
};
