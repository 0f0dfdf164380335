#include "bench/timed_front_end.h"

#include "bench/measurement.h"
#include "core/redis_reply.h"
#include "tests/support/redis_client.h"

#include <poll.h>

#include <stdexcept>

namespace {

constexpr int ANSWER_LIMIT_MILLISECONDS = 20000;

Command contentOf(RedisClient& client, const std::string& key) {
    const std::string type = client.command("TYPE", key).text;
    if (type == "hash") {
        Command command = {"HSET", key};
        for (const auto& [field, value] : client.hash(key)) {
            command.insert(command.end(), {field, value});
        }
        return command;
    }
    if (type == "list") {
        Command command = {"RPUSH", key};
        const auto entries = client.list(key);
        command.insert(command.end(), entries.begin(), entries.end());
        return command;
    }
    return {"SET", key, client.command("GET", key).text};
}

// The reply to the exchange's only command; nothing when none comes.
RedisReply replayForReply(redisContext* context, const Exchange& exchange) {
    RedisReply reply;
    if (redisAppendFormattedCommand(context, exchange.bytes.data(), exchange.bytes.size()) ==
            REDIS_OK &&
        !takeRedisReply(context, reply)) {
        reply.reset();
    }
    return reply;
}

// Nothing when no answer comes: the wait must not hang for ever.
RedisReply waitForMessage(redisContext* context) {
    RedisReply reply;
    pollfd ready{context->fd, POLLIN, 0};
    if (poll(&ready, 1, ANSWER_LIMIT_MILLISECONDS) > 0 && !takeRedisReply(context, reply)) {
        reply.reset();
    }
    return reply;
}

} // namespace

Exchange databaseContent(RedisClient& client) {
    Commands commands;
    for (const std::string& key : client.keys()) {
        commands.push_back(contentOf(client, key));
    }
    return makeExchange(commands);
}

TimedFrontEnd::TimedFrontEnd(const std::string& socketPath)
    : mCommands(connectTo(socketPath)), mAnswers(connectTo(socketPath)) {
    replay(mAnswers.get(), makeExchange({{"SUBSCRIBE", RETURN_CHANNEL}}));
}

void TimedFrontEnd::restore(const Exchange& content) {
    replay(mCommands.get(), makeExchange({{"FLUSHALL"}}));
    replay(mCommands.get(), content);
}

void TimedFrontEnd::add(const Exchange& content) {
    replay(mCommands.get(), content);
}

double TimedFrontEnd::request(const std::string& channel) {
    const std::string message = std::string(REQUEST_KEY) + " " + STATUS_KEY;
    const Exchange announcement = makeExchange({{"PUBLISH", channel, message}});
    const double start = now();
    const RedisReply published = replayForReply(mCommands.get(), announcement);
    const RedisReply answer = waitForMessage(mAnswers.get());
    const double seconds = now() - start;
    if (!published || published->integer != 1) {
        throw std::runtime_error("not exactly one listener on " + channel);
    }
    if (!answer || answer->elements != 3 || std::string(answer->element[2]->str) != STATUS_KEY) {
        throw std::runtime_error("no answer to a request on " + channel);
    }
    return seconds;
}

std::string TimedFrontEnd::statusField(const std::string& name) {
    const RedisReply reply =
        sendRedisCommand(mCommands.get(), "HGET %s %s", STATUS_KEY, name.c_str());
    return reply && reply->str != nullptr ? std::string(reply->str, reply->len) : std::string();
}
