#include "bench/replayer.h"

#include "bench/connection.h"
#include "bench/measurement.h"
#include "tests/support/wait.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <functional>
#include <stdexcept>

namespace {

// The backend is called when all that the daemon asks before has been read.
bool isWriting(const Exchange& exchange) {
    constexpr std::array<std::string_view, 7> READING = {"TYPE",    "HGETALL", "LRANGE", "HGET",
                                                         "HEXISTS", "LLEN",    "EXISTS"};
    return std::find(READING.begin(), READING.end(), firstCommandName(exchange)) == READING.end();
}

std::function<void()> bareCallOf(const ReplayScript& script) {
    const auto call = [&script](void (*function)(const BareInput&)) {
        return [&script, function] { function(script.bareInput); };
    };
    switch (script.bareCall) {
    case BareCall::CREATE:
        return call(bareCreate);
    case BareCall::REMOVE:
        return call(bareDelete);
    case BareCall::REPLACE:
        return call(bareReplace);
    case BareCall::SIGNING_REQUEST:
        return call(bareSigningRequest);
    case BareCall::NONE:
        break;
    }
    return [] {};
}

struct SplitScript {
    Exchanges beforeCall;
    std::function<void()> bareCall;
    Exchanges afterCall;
};

SplitScript splitAtCall(const ReplayScript& script) {
    const auto first = std::find_if(script.exchanges.begin(), script.exchanges.end(), isWriting);
    return {{script.exchanges.begin(), first}, bareCallOf(script), {first, script.exchanges.end()}};
}

void replayRequest(redisContext* context, const SplitScript& script) {
    replay(context, script.beforeCall);
    script.bareCall();
    replay(context, script.afterCall);
}

void answerRequests(const std::string& socketPath, const ReplayScript& script) {
    const SplitScript split = splitAtCall(script);
    const BenchConnection kept = connectTo(socketPath);
    const BenchConnection subscriber = connectTo(socketPath);
    replay(subscriber.get(), makeExchange({{"SUBSCRIBE", script.channel}}));
    while (takeReply(subscriber.get())) {
        if (script.freshConnection) {
            replayRequest(connectTo(socketPath).get(), split);
        } else {
            replayRequest(kept.get(), split);
        }
    }
}

// The child's whole life: it ends with the parent or with the server.
[[noreturn]] void runChild(const std::string& socketPath, const ReplayScript& script) {
    (void)prctl(PR_SET_PDEATHSIG, SIGKILL);
    try {
        answerRequests(socketPath, script);
    } catch (const std::exception& failure) {
        tellProgress(std::string("a replayer fails: ") + failure.what());
    }
    _exit(1);
}

bool isListening(redisContext* context, const std::string& channel) {
    const BenchReply reply = ask(context, {"PUBSUB", "NUMSUB", channel});
    return reply->elements == 2 && reply->element[1]->integer == 1;
}

void endChild(pid_t child) {
    (void)kill(child, SIGKILL);
    (void)waitpid(child, nullptr, 0);
}

} // namespace

ReplayerProcess::ReplayerProcess(const std::string& socketPath, const ReplayScript& script)
    : mPid(fork()) {
    if (mPid == 0) {
        runChild(socketPath, script);
    }
    const BenchConnection connection = connectTo(socketPath);
    if (mPid < 0 || !waitUntil([&] { return isListening(connection.get(), script.channel); })) {
        endChild(mPid);
        throw std::runtime_error("a replayer does not listen");
    }
}

ReplayerProcess::~ReplayerProcess() {
    endChild(mPid);
}
