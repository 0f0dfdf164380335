#include "fuzz/redis.h"

#include "fuzz/property.h"
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

StoredValue storedValue(const std::string& type, const std::vector<std::string>& content) {
    StoredValue value;
    if (type == "string") {
        value.text = content.at(0);
    } else if (type == "list") {
        value.kind = StoredValue::Kind::LIST;
        value.entries = content;
    } else if (type == "hash") {
        value.kind = StoredValue::Kind::HASH;
        for (std::size_t i = 0; i + 1 < content.size(); i += 2) {
            value.fields[content[i]] = content[i + 1];
        }
    } else {
        value.kind = StoredValue::Kind::OTHER;
    }
    return value;
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

StoredData readStoredData(RedisClient& client) {
    const RedisAnswer answer = client.command("EVAL", READ_ALL, "0");
    require(answer.type == RedisAnswer::Type::ARRAY, "the database can be read");
    StoredData data;
    for (std::size_t i = 0; i + 2 < answer.elements.size(); i += 3) {
        data[answer.elements[i].text] =
            storedValue(answer.elements[i + 1].text, answer.elements[i + 2].texts());
    }
    return data;
}

std::string describe(const StoredData& data) {
    std::string text;
    for (const auto& [key, value] : data) {
        text += describeText(key) + " = " + describeText(value.text) + "\n";
        for (const auto& [field, content] : value.fields) {
            text += "    " + describeText(field) + " = " + describeText(content) + "\n";
        }
        for (const std::string& entry : value.entries) {
            text += "    - " + describeText(entry) + "\n";
        }
    }
    return text;
}

void requireSameData(const StoredData& seen, const StoredData& expected,
                     const std::string& property) {
    if (seen != expected) {
        requireSame(describe(seen), describe(expected), property);
        reportBroken(property); // they differ in what describe does not show
    }
}
