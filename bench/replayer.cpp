#include "bench/replayer.h"

#include "bench/connection.h"
#include "core/redis_reply.h"
#include "tests/support/child_process.h"
#include "tests/support/temp_files.h"
#include "tests/support/wait.h"

#include <algorithm>
#include <array>
#include <functional>
#include <optional>
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

void saveScript(const std::string& directory, const ReplayScript& script) {
    saveExchanges(directory + "/exchanges", script.exchanges);
    writeFile(directory + "/channel", script.channel);
    writeFile(directory + "/fresh", script.freshConnection ? "yes" : "no");
    writeFile(directory + "/call", std::to_string(static_cast<int>(script.bareCall)));
    writeFile(directory + "/certificate", script.bareInput.certificateText);
    writeFile(directory + "/roots", script.bareInput.rootCaFile);
    writeFile(directory + "/directory", script.bareInput.directory);
}

ReplayScript loadScript(const std::string& directory) {
    ReplayScript script;
    script.exchanges = loadExchanges(directory + "/exchanges");
    script.channel = readFile(directory + "/channel");
    script.freshConnection = readFile(directory + "/fresh") == "yes";
    script.bareCall = static_cast<BareCall>(std::stoi(readFile(directory + "/call")));
    script.bareInput = {readFile(directory + "/certificate"), readFile(directory + "/roots"),
                        readFile(directory + "/directory")};
    return script;
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

} // namespace

ReplayerProcess::ReplayerProcess(const std::string& socketPath, const ReplayScript& script,
                                 const std::string& scriptDirectory) {
    saveScript(scriptDirectory, script);
    ChildProcessOptions options;
    options.arguments = {"/proc/self/exe", REPLAY_OPTION, socketPath, scriptDirectory};
    options.errorFile = scriptDirectory + "/stderr";
    mProcess = std::make_unique<ChildProcess>(options);
    const BenchConnection connection = connectTo(socketPath);
    const bool listens = waitUntil([&] {
        const RedisReply reply =
            sendRedisCommand(connection.get(), "PUBSUB NUMSUB %s", script.channel.c_str());
        return !mProcess->running() ||
               (reply && reply->elements == 2 && reply->element[1]->integer == 1);
    });
    if (!listens || !mProcess->running()) {
        throw std::runtime_error("a replayer does not listen\n" + readFileIfAny(options.errorFile));
    }
}

ReplayerProcess::~ReplayerProcess() = default;

int runReplayer(const std::string& socketPath, const std::string& scriptDirectory) {
    const ReplayScript script = loadScript(scriptDirectory);
    const SplitScript split = splitAtCall(script);
    const BenchConnection kept = connectTo(socketPath);
    const BenchConnection subscriber = connectTo(socketPath);
    replay(subscriber.get(), makeExchange({{"SUBSCRIBE", script.channel}}));
    RedisReply message;
    while (takeRedisReply(subscriber.get(), message)) {
        if (script.freshConnection) {
            replayRequest(connectTo(socketPath).get(), split);
        } else {
            replayRequest(kept.get(), split);
        }
    }
    return 0;
}
