// The commands of one connection, one at a time.

#include "tests/requests/redis_proxy.h"

#include "tests/support/redis_server.h"
#include "tests/support/wire.h"

#include <hiredis/hiredis.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <stdexcept>

RedisProxy::RedisProxy(const RedisServer& server, Interceptor interceptor)
    : mInterceptor(std::move(interceptor)),
      mUpstream(redisConnectUnix(server.socketPath().c_str())), mContext(nullptr) {
    std::array<int, 2> pair{};
    if (mUpstream == nullptr || mUpstream->err != 0 ||
        socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()) != 0) {
        throw std::runtime_error("proxy: no connection");
    }
    mContext = redisConnectFd(pair[0]);
    mThread = std::thread([this, client = pair[1]] {
        serve(client);
        close(client);
    });
}

RedisProxy::~RedisProxy() {
    redisFree(mContext);
    mThread.join();
    redisFree(mUpstream);
}

void RedisProxy::serve(int client) {
    WireReader reader;
    while (!reader.receive(client).empty()) {
        while (reader.next()) {
            if (!answer(client, reader.words())) {
                return;
            }
        }
    }
}

// False when the connection is to be closed.
bool RedisProxy::answer(int client, const Command& command) {
    const auto own = mInterceptor(command);
    return sendAll(client, own ? *own : askServer(mUpstream->fd, command)) &&
           !(own && own->empty());
}

bool beginsWith(const Command& command, const Command& beginning) {
    return command.size() >= beginning.size() &&
           std::equal(beginning.begin(), beginning.end(), command.begin());
}

RedisProxy::Interceptor answerOnce(Command beginning, std::string reply) {
    return [beginning = std::move(beginning), reply = std::move(reply),
            done = false](const Command& command) mutable -> std::optional<std::string> {
        if (done || !beginsWith(command, beginning)) {
            return std::nullopt;
        }
        done = true;
        return reply;
    };
}
