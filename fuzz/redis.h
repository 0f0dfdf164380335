#pragma once

// The redis-server of a fuzz process.

#include "tests/support/redis_client.h"

#include <string>

// One server and one connection for the whole process, started at the first call.
[[nodiscard]] RedisClient& fuzzedRedis();

// Requires that the next reply on the connection is the answer to the next command.
void requireInStep(RedisClient& client);

// RedisClient::dumpAll() in one exchange, of a database of strings, hashes and lists.
[[nodiscard]] std::string dumpStored(RedisClient& client);
