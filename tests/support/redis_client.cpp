// A thin layer over hiredis' blocking calls.

#include "tests/support/redis_client.h"

#include "tests/support/redis_server.h"

#include <hiredis/hiredis.h>
#include <poll.h>
#include <sys/time.h>

#include <algorithm>
#include <cerrno>
#include <stdexcept>

namespace {

constexpr timeval ANSWER_LIMIT{60, 0};

struct ReplyRelease {
    void operator()(redisReply* reply) const {
        freeReplyObject(reply);
    }
};
using OwnedReply = std::unique_ptr<redisReply, ReplyRelease>;

RedisAnswer::Type typeOf(int hiredisType) {
    switch (hiredisType) {
    case REDIS_REPLY_INTEGER:
        return RedisAnswer::Type::INTEGER;
    case REDIS_REPLY_STRING:
        return RedisAnswer::Type::STRING;
    case REDIS_REPLY_STATUS:
        return RedisAnswer::Type::STATUS;
    case REDIS_REPLY_ERROR:
        return RedisAnswer::Type::ERROR;
    case REDIS_REPLY_ARRAY:
        return RedisAnswer::Type::ARRAY;
    default:
        return RedisAnswer::Type::NIL;
    }
}

// Recursion ends with the server's own nesting, which is two deep at most for what tests ask.
RedisAnswer convert(const redisReply& reply) { // NOLINT(misc-no-recursion)
    RedisAnswer result;
    result.type = typeOf(reply.type);
    result.integer = result.type == RedisAnswer::Type::INTEGER ? reply.integer : 0;
    if (reply.str != nullptr) {
        result.text.assign(reply.str, reply.len);
    }
    if (result.type == RedisAnswer::Type::ARRAY) {
        for (std::size_t i = 0; i < reply.elements; ++i) {
            result.elements.push_back(convert(*reply.element[i]));
        }
    }
    return result;
}

std::string hashText(const std::map<std::string, std::string>& fields) {
    std::string result = "\n";
    for (const auto& [field, value] : fields) {
        result += "  " + describeText(field) + " = " + describeText(value) + "\n";
    }
    return result;
}

std::string listText(const std::vector<std::string>& entries) {
    std::string result = "\n";
    for (std::size_t i = 0; i < entries.size(); ++i) {
        result += "  [" + std::to_string(i) + "] = " + describeText(entries[i]) + "\n";
    }
    return result;
}

} // namespace

std::vector<std::string> RedisAnswer::texts() const {
    std::vector<std::string> result;
    for (const auto& element : elements) {
        result.push_back(element.type == Type::INTEGER ? std::to_string(element.integer)
                                                       : element.text);
    }
    return result;
}

void RedisClient::Release::operator()(redisContext* context) const {
    redisFree(context);
}

RedisClient::RedisClient(redisContext* context, const std::string& password) : mContext(context) {
    if (context == nullptr || context->err != 0) {
        throw std::runtime_error(std::string("no connection to Redis: ") +
                                 (context == nullptr ? "" : context->errstr));
    }
    redisSetTimeout(context, ANSWER_LIMIT);
    if (!password.empty() && command("AUTH", password).text != "OK") {
        throw std::runtime_error("Redis refuses the password");
    }
}

RedisClient::RedisClient(const RedisServer& server)
    : RedisClient(redisConnectUnix(server.socketPath().c_str()), server.options().password) {}

RedisClient RedisClient::overTcp(const RedisServer& server) {
    return {redisConnect("127.0.0.1", server.options().tcpPort), server.options().password};
}

RedisClient::RedisClient(RedisClient&&) noexcept = default;
RedisClient::~RedisClient() = default;

RedisAnswer RedisClient::commandList(const Command& words) {
    std::vector<const char*> texts;
    std::vector<std::size_t> lengths;
    for (const auto& word : words) {
        texts.push_back(word.data());
        lengths.push_back(word.size());
    }
    const OwnedReply reply(static_cast<redisReply*>(redisCommandArgv(
        mContext.get(), static_cast<int>(words.size()), texts.data(), lengths.data())));
    if (!reply) {
        throw std::runtime_error("no answer from Redis to " + describeCommands({words}) + ": " +
                                 mContext->errstr);
    }
    return convert(*reply);
}

bool RedisClient::nextMessage(RedisAnswer& message, double seconds) {
    void* reply = nullptr;
    redisGetReplyFromReader(mContext.get(), &reply);
    if (reply == nullptr) {
        pollfd ready{mContext->fd, POLLIN, 0};
        if (poll(&ready, 1, static_cast<int>(seconds * 1000.0)) <= 0) {
            return false;
        }
        if (redisGetReply(mContext.get(), &reply) != REDIS_OK || reply == nullptr) {
            throw std::runtime_error(std::string("connection to Redis lost: ") + mContext->errstr);
        }
    }
    const OwnedReply owned(static_cast<redisReply*>(reply));
    message = convert(*owned);
    return true;
}

std::vector<std::string> RedisClient::keys() {
    auto result = command("KEYS", "*").texts();
    std::sort(result.begin(), result.end());
    return result;
}

std::map<std::string, std::string> RedisClient::hash(const std::string& key) {
    const auto texts = command("HGETALL", key).texts();
    std::map<std::string, std::string> result;
    for (std::size_t i = 0; i + 1 < texts.size(); i += 2) {
        result[texts[i]] = texts[i + 1];
    }
    return result;
}

std::vector<std::string> RedisClient::list(const std::string& key) {
    return command("LRANGE", key, "0", "-1").texts();
}

std::string RedisClient::dumpKey(const std::string& key) {
    const std::string type = command("TYPE", key).text;
    const long long lifetime = command("PTTL", key).integer;
    std::string result = describeText(key) + " (" + type + ")";
    if (lifetime >= 0) {
        result += " expires " + std::to_string((lifetime + 999) / 1000);
    }
    if (type == "hash") {
        return result + hashText(hash(key));
    }
    if (type == "list") {
        return result + listText(list(key));
    }
    return result + " = " + describeText(command("GET", key).text) + "\n";
}

std::string RedisClient::dumpAll() {
    std::string result;
    for (const auto& key : keys()) {
        result += dumpKey(key);
    }
    return result;
}

void RedisClient::flushAll() {
    command("FLUSHALL");
}
