#include "bench/timed_front_end.h"

#include "bench/processors.h"
#include "tests/support/request.h"

#include <poll.h>

#include <chrono>
#include <stdexcept>
#include <thread>

namespace {

constexpr int ANSWER_LIMIT_MILLISECONDS = 20000;
constexpr std::chrono::microseconds TIME_TO_FINISH(100); // closing a connection takes about 10

const FrontEndRequest REQUEST;

// The wait must not hang for ever.
BenchReply waitForMessage(redisContext* context) {
    pollfd ready{context->fd, POLLIN, 0};
    if (poll(&ready, 1, ANSWER_LIMIT_MILLISECONDS) <= 0) {
        throw std::runtime_error("a request is not answered in time");
    }
    return takeReply(context);
}

std::string textOf(const redisReply& reply) {
    return reply.str == nullptr ? std::string() : std::string(reply.str, reply.len);
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
    const Command announcement = {"PUBLISH", channel, requestMessage(REQUEST)};
    const double start = now();
    const BenchReply published = ask(mCommands.get(), announcement);
    const BenchReply answer = waitForMessage(mAnswers.get());
    const double elapsed = now() - start;
    if (published->integer != 1) {
        throw std::runtime_error("not exactly one listener on " + channel);
    }
    if (answer->elements != 3 || textOf(*answer->element[2]) != REQUEST.statusKey) {
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
    return textOf(*ask(mCommands.get(), {"HGET", REQUEST.statusKey, name}));
}
