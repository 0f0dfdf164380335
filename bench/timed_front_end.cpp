#include "bench/timed_front_end.h"

#include "bench/processors.h"
#include "core/redis_reply.h"
#include "tests/support/request.h"

#include <poll.h>

#include <chrono>
#include <stdexcept>
#include <thread>

namespace {

constexpr int ANSWER_LIMIT_MILLISECONDS = 20000;
constexpr std::chrono::microseconds TIME_TO_FINISH(100); // closing a connection takes about 10

const FrontEndRequest REQUEST;

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

TimedFrontEnd::TimedFrontEnd(const std::string& socketPath)
    : mCommands(connectTo(socketPath)), mAnswers(connectTo(socketPath)) {
    replay(mAnswers.get(), makeExchange({{"SUBSCRIBE", REQUEST.returnChannel}}));
}

void TimedFrontEnd::restore(const Exchange& content) {
    replay(mCommands.get(), makeExchange({{"FLUSHALL"}}));
    replay(mCommands.get(), content);
}

void TimedFrontEnd::add(const Exchange& content) {
    replay(mCommands.get(), content);
}

double TimedFrontEnd::request(const std::string& channel) {
    const Exchange announcement = makeExchange({{"PUBLISH", channel, requestMessage(REQUEST)}});
    const double start = now();
    const RedisReply published = replayForReply(mCommands.get(), announcement);
    const RedisReply answer = waitForMessage(mAnswers.get());
    const double elapsed = now() - start;
    if (!published || published->integer != 1) {
        throw std::runtime_error("not exactly one listener on " + channel);
    }
    if (!answer || answer->elements != 3 || replyText(*answer->element[2]) != REQUEST.statusKey) {
        throw std::runtime_error("no answer to a request on " + channel);
    }
    return elapsed;
}

Cost TimedFrontEnd::request(const std::string& channel, pid_t process) {
    const double processorStart = processorTimeOf(process);
    const double elapsed = request(channel);
    std::this_thread::sleep_for(TIME_TO_FINISH);
    return {processorTimeOf(process) - processorStart, elapsed};
}

pid_t TimedFrontEnd::server() const {
    return peerProcess(mCommands->fd);
}

std::string TimedFrontEnd::statusField(const std::string& name) {
    const RedisReply reply =
        sendRedisCommand(mCommands.get(), "HGET %s %s", REQUEST.statusKey.c_str(), name.c_str());
    return reply ? std::string(replyText(*reply)) : std::string();
}
