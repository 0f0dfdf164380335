#include "bench/store_stage.h"

#include "bench/recorder.h"

#include <cstdio>
#include <stdexcept>

namespace {

constexpr int UNIX_SOCKET = 1;
constexpr int MOST_ATTEMPTS = 10;
const Exchange FLUSH = makeExchange({{"FLUSHALL"}});

RedisConnection connectAsDaemon(const std::string& socketPath) {
    RedisConnectionInfo info{};
    info.type = UNIX_SOCKET;
    (void)std::snprintf(info.socketPath, sizeof info.socketPath, "%s", socketPath.c_str());
    RedisConnection connection(connectToRedis(&info));
    if (!connection) {
        throw std::runtime_error("cannot connect to " + socketPath);
    }
    return connection;
}

} // namespace

StoreStage::StoreStage()
    : mOurs(connectAsDaemon(mServer.socketPath())), mFloor(connectTo(mServer.socketPath())) {}

RedisConnection StoreStage::connect() const {
    return connectAsDaemon(mServer.socketPath());
}

void StoreStage::placeServer(Placement placement) const {
    place(placement, {}, peerProcess(mFloor->fd));
}

void StoreStage::restore(const Exchanges& content) const {
    replay(floor(), FLUSH);
    replay(floor(), content);
}

Exchanges StoreStage::captureOnce(const Exchanges& content, const StoreCall& call) const {
    restore(content);
    const std::string socketPath = mDirectory.file("recorder.sock");
    const Recorder recorder(socketPath, mServer.socketPath());
    call(connectAsDaemon(socketPath).get());
    return recorder.since({});
}

// An exchange recorded in pieces would be a floor of more exchanges.
Exchanges StoreStage::capture(const Exchanges& content, const StoreCall& call) const {
    Exchanges previous = captureOnce(content, call);
    for (int attempt = 1; attempt < MOST_ATTEMPTS; ++attempt) {
        Exchanges exchanges = captureOnce(content, call);
        if (exchanges.size() == previous.size()) {
            return exchanges;
        }
        previous = std::move(exchanges);
    }
    throw std::runtime_error("an operation is never recorded twice the same");
}
