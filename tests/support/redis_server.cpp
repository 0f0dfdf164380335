// Starting, freezing and ending a redis-server.

#include "tests/support/redis_server.h"

#include "tests/support/child_process.h"
#include "tests/support/redis_client.h"
#include "tests/support/wait.h"

#include <csignal>
#include <filesystem>
#include <stdexcept>

namespace {

// Whether the server takes commands now; it refuses connections while it starts.
bool answers(const RedisServer& server) {
    try {
        RedisClient client(server);
        return client.command("PING").text == "PONG";
    } catch (const std::runtime_error&) {
        return false;
    }
}

void writeOrRemove(const std::string& path, const std::string& content, bool wanted) {
    if (wanted) {
        writeFile(path, content);
    } else {
        std::filesystem::remove(path);
    }
}

} // namespace

RedisServer::RedisServer(const RedisServerOptions& options) : mOptions(options) {
    start();
}

RedisServer::~RedisServer() = default;

std::string RedisServer::socketPath() const {
    return mDirectory.file("redis.sock");
}

void RedisServer::start() {
    if (mProcess) {
        throw std::runtime_error("redis-server runs already");
    }
    ChildProcessOptions child;
    child.arguments = {"redis-server",
                       "--port",
                       std::to_string(mOptions.tcpPort),
                       "--bind",
                       "127.0.0.1",
                       "--unixsocket",
                       socketPath(),
                       "--dir",
                       mDirectory.path(),
                       "--save",
                       "",
                       "--appendonly",
                       mOptions.keepData ? "yes" : "no"};
    if (!mOptions.password.empty()) {
        child.arguments.insert(child.arguments.end(), {"--requirepass", mOptions.password});
    }
    child.outputFile = mDirectory.file("log");
    child.errorFile = child.outputFile;
    mProcess = std::make_unique<ChildProcess>(child);
    const bool ended = !waitUntil([this] { return !mProcess->running() || answers(*this); });
    if (ended || !mProcess->running()) {
        throw std::runtime_error("redis-server does not answer:\n" + log());
    }
}

void RedisServer::stop() {
    if (!mProcess) {
        return;
    }
    mProcess->signal(SIGCONT);
    mProcess->signal(SIGTERM);
    const auto status = mProcess->waitForExit(WAIT_LIMIT_SECONDS);
    mProcess.reset();
    if (!status) {
        throw std::runtime_error("redis-server does not end:\n" + log());
    }
}

void RedisServer::pause() {
    if (mProcess) {
        mProcess->signal(SIGSTOP);
    }
}

void RedisServer::resume() {
    if (mProcess) {
        mProcess->signal(SIGCONT);
    }
}

std::string RedisServer::log() const {
    return readFileIfAny(mDirectory.file("log"));
}

void writeConnectionFiles(const RedisServer& server, RedisAddress address) {
    const bool socket = address == RedisAddress::UNIX_SOCKET;
    const auto& options = server.options();
    writeFile("/var/run/redis.port", socket ? "0" : std::to_string(options.tcpPort));
    writeOrRemove("/var/run/redis.unixsocket", server.socketPath(), socket);
    writeOrRemove("/var/run/redis.requirepass", options.password, !options.password.empty());
}
