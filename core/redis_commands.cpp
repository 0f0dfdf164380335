#include "core/redis_commands.h"

#include "core/redis_reply.h"

#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace {

int isIntegerOne(const RedisReply& reply) {
    return isInteger(reply) && reply->integer == 1 ? 1 : 0;
}

std::string elementText(const redisReply& element) {
    if (element.str == nullptr) {
        throw std::logic_error("basic_string::_M_construct null not valid");
    }
    return {element.str, element.len};
}

} // namespace

std::string redisHGet(redisContext* context, const std::string& key, const std::string& field) {
    const RedisReply reply = sendRedisCommand(context, {"HGET", key, field});
    if (!reply || reply->type != REDIS_REPLY_STRING) {
        return {};
    }
    return {reply->str, reply->len};
}

int redisHSet(redisContext* context, const std::string& key, const std::string& field,
              const std::string& value) {
    const RedisReply reply = sendRedisCommand(context, {"HSET", key, field, value});
    return isInteger(reply) && (reply->integer == 0 || reply->integer == 1) ? 1 : 0;
}

int redisLPush(redisContext* context, const std::string& key, const std::string& value,
               int& length) {
    const RedisReply reply = sendRedisCommand(context, {"LPUSH", key, value});
    if (!isInteger(reply)) {
        return 0;
    }
    length = static_cast<int>(reply->integer);
    return 1;
}

int redisLPush(redisContext* context, const std::string& key, const std::string& value) {
    int length = 0;
    return redisLPush(context, key, value, length);
}

int redisLLen(redisContext* context, const std::string& key) {
    const RedisReply reply = sendRedisCommand(context, {"LLEN", key});
    if (!reply) {
        (void)std::printf(">>> Failed to get list length on %s.\n", key.c_str());
        return -1;
    }
    return isInteger(reply) ? static_cast<int>(reply->integer) : -1;
}

int redisPublish(redisContext* context, const std::string& channel, const std::string& message) {
    const RedisReply reply = sendRedisCommand(context, {"PUBLISH", channel, message});
    return isInteger(reply) && reply->integer > 0 ? 1 : 0;
}

int redisDel(redisContext* context, const std::string& key) {
    return isIntegerOne(sendRedisCommand(context, {"DEL", key}));
}

int redisExpire(redisContext* context, const std::string& key, int seconds) {
    return isIntegerOne(sendRedisCommand(context, {"EXPIRE", key, std::to_string(seconds)}));
}

int redisLRem(redisContext* context, const std::string& key, int count, const std::string& value) {
    const RedisReply reply = sendRedisCommand(context, {"LREM", key, std::to_string(count), value});
    if (!reply) {
        (void)std::printf(">>> Failed to remove %s element in %s.\n", value.c_str(), key.c_str());
        return 0;
    }
    return isInteger(reply) ? static_cast<int>(reply->integer) : 0;
}

int redisHExists(redisContext* context, const std::string& key, const std::string& field) {
    return isIntegerOne(sendRedisCommand(context, {"HEXISTS", key, field}));
}

int redisHIncrBy(redisContext* context, const std::string& key, const std::string& field,
                 int increment, int& result) {
    const RedisReply reply =
        sendRedisCommand(context, {"HINCRBY", key, field, std::to_string(increment)});
    if (!reply) {
        return 0;
    }
    if (isInteger(reply)) {
        result = static_cast<int>(reply->integer);
    }
    return 1;
}

int redisHDel(redisContext* context, const std::string& key, const std::string& field) {
    return isIntegerOne(sendRedisCommand(context, {"HDEL", key, field}));
}

int redisExists(redisContext* context, const std::string& key) {
    return isIntegerOne(sendRedisCommand(context, {"EXISTS", key}));
}

int redisHGetAll(redisContext* context, const std::string& key,
                 std::map<std::string, std::string>& fields) {
    // Released and never freed: the contract of this function, which no thread of the daemon calls.
    const redisReply* reply = sendRedisCommand(context, {"HGETALL", key}).release();
    if (reply == nullptr) {
        return 0;
    }
    for (std::size_t i = 0; i + 1 < reply->elements; i += 2) {
        fields.emplace(elementText(*reply->element[i]), elementText(*reply->element[i + 1]));
    }
    return 1;
}

int redisLRange(redisContext* context, const std::string& key, std::vector<std::string>& elements) {
    const RedisReply reply = sendRedisCommand(context, {"LRANGE", key, "0", "-1"});
    if (!reply) {
        return 0;
    }
    for (std::size_t i = 0; i < reply->elements; ++i) {
        elements.push_back(elementText(*reply->element[i]));
    }
    return 1;
}

int redisHMSet(redisContext* context, const std::string& key,
               const std::map<std::string, std::string>& fields) {
    std::vector<const char*> words = {"HMSET", key.c_str()};
    std::vector<std::size_t> lengths = {std::strlen("HMSET"), key.size()};
    for (const auto& [field, value] : fields) {
        words.insert(words.end(), {field.c_str(), value.c_str()});
        lengths.insert(lengths.end(), {field.size(), value.size()});
    }
    const RedisReply reply(static_cast<redisReply*>(
        redisCommandArgv(context, static_cast<int>(words.size()), words.data(), lengths.data())));
    return reply && replyText(*reply).starts_with("OK") ? 1 : 0;
}
