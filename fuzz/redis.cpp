#include "fuzz/redis.h"

#include "fuzz/property.h"
#include "tests/models/expected_database.h"
#include "tests/support/redis_server.h"

namespace {

// The whole database in one exchange: key, type and content of each key.
constexpr const char* READ_ALL = R"(
local all = {}
for _, key in ipairs(redis.call('KEYS', '*')) do
    local kind = redis.call('TYPE', key).ok
    local content = {}
    if kind == 'hash' then content = redis.call('HGETALL', key)
    elseif kind == 'list' then content = redis.call('LRANGE', key, 0, -1)
    elseif kind == 'string' then content = {redis.call('GET', key)}
    end
    table.insert(all, key)
    table.insert(all, kind)
    table.insert(all, content)
end
return all
)";

void addKey(ExpectedDatabase& database, const std::string& key, const std::string& type,
            const std::vector<std::string>& content) {
    const std::size_t step = type == "hash" ? 2 : 1;
    for (std::size_t i = 0; i + step <= content.size(); i += step) {
        if (type == "hash") {
            (void)database.hset(key, content[i], content[i + 1]);
        } else if (type == "list") {
            (void)database.rpush(key, content[i]);
        } else {
            database.set(key, content[i]);
        }
    }
}

} // namespace

RedisClient& fuzzedRedis() {
    static RedisServer server;
    static RedisClient client(server);
    return client;
}

void requireInStep(RedisClient& client) {
    requireSame(client.command("ECHO", "in step").text, "in step", "the connection stays in step");
}

std::string dumpStored(RedisClient& client) {
    const RedisAnswer answer = client.command("EVAL", READ_ALL, "0");
    require(answer.type == RedisAnswer::Type::ARRAY, "the database can be read");
    ExpectedDatabase database;
    for (std::size_t i = 0; i + 2 < answer.elements.size(); i += 3) {
        addKey(database, answer.elements[i].text, answer.elements[i + 1].text,
               answer.elements[i + 2].texts());
    }
    return database.dump();
}
