#pragma once

// The redis-server of a fuzz process, and what is stored in it as plain data.

#include "tests/support/redis_client.h"

#include <map>
#include <string>
#include <vector>

// One server and one connection for the whole process, started at the first call.
[[nodiscard]] RedisClient& fuzzedRedis();

// Requires that the next reply on the connection is the answer to the next command.
void requireInStep(RedisClient& client);

struct StoredValue {
    enum class Kind { STRING, HASH, LIST, OTHER };

    Kind kind = Kind::STRING;
    std::string text;
    std::map<std::string, std::string> fields;
    std::vector<std::string> entries;

    bool operator==(const StoredValue&) const = default;
};

using StoredData = std::map<std::string, StoredValue>;

// The whole database.
[[nodiscard]] StoredData readStoredData(RedisClient& client);

// For reports.
[[nodiscard]] std::string describe(const StoredData& data);

void requireSameData(const StoredData& seen, const StoredData& expected,
                     const std::string& property);
