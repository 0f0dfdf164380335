// The proxy reads commands and replies with hiredis's own reader: a command is an array of texts,
// and of a reply only its end matters, so that its bytes can be passed on as they came.

#include "tests/requests/redis_proxy.h"

#include "tests/support/redis_server.h"

#include <hiredis/hiredis.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <memory>
#include <stdexcept>

namespace {

struct ReaderRelease {
    void operator()(redisReader* reader) const {
        redisReaderFree(reader);
    }
};
using Reader = std::unique_ptr<redisReader, ReaderRelease>;

struct ReplyRelease {
    void operator()(redisReply* reply) const {
        freeReplyObject(reply);
    }
};
using Reply = std::unique_ptr<redisReply, ReplyRelease>;

Reply nextReply(redisReader* reader) {
    void* reply = nullptr;
    if (redisReaderGetReply(reader, &reply) != REDIS_OK) {
        throw std::runtime_error(std::string("proxy: ") + reader->errstr);
    }
    return Reply(static_cast<redisReply*>(reply));
}

// Reads what has come and feeds it to the reader. Empty at the end of the connection.
std::string receive(int socket, redisReader* reader) {
    std::array<char, 16384> buffer{};
    const ssize_t count = read(socket, buffer.data(), buffer.size());
    if (count <= 0) {
        return {};
    }
    redisReaderFeed(reader, buffer.data(), static_cast<std::size_t>(count));
    return {buffer.data(), static_cast<std::size_t>(count)};
}

bool sendAll(int socket, const std::string& bytes) {
    for (std::size_t sent = 0; sent < bytes.size();) {
        const ssize_t count = send(socket, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count <= 0) {
            return false;
        }
        sent += static_cast<std::size_t>(count);
    }
    return true;
}

Command wordsOf(const redisReply& reply) {
    Command words;
    for (std::size_t i = 0; i < reply.elements; ++i) {
        words.emplace_back(reply.element[i]->str, reply.element[i]->len);
    }
    return words;
}

std::string wireForm(const Command& command) {
    std::string bytes = "*" + std::to_string(command.size()) + "\r\n";
    for (const auto& word : command) {
        bytes += "$" + std::to_string(word.size()) + "\r\n" + word + "\r\n";
    }
    return bytes;
}

std::string askServer(int upstream, const Command& command) {
    const Reader reader(redisReaderCreate());
    std::string bytes;
    if (!sendAll(upstream, wireForm(command))) {
        return {};
    }
    while (!nextReply(reader.get())) {
        const std::string part = receive(upstream, reader.get());
        if (part.empty()) {
            return {};
        }
        bytes += part;
    }
    return bytes;
}

} // namespace

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
    const Reader reader(redisReaderCreate());
    while (!receive(client, reader.get()).empty()) {
        while (const Reply command = nextReply(reader.get())) {
            if (!answer(client, wordsOf(*command))) {
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
