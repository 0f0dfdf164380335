// Replies read as they arrive. Property: whatever bytes come before the connection's end, as many
// replies come as the library makes objects of, of the same types, errors and elements.

#include "core/redis_connection.h"
#include "core/redis_reply.h"
#include "core/reply_stream.h"
#include "fuzz/input.h"
#include "fuzz/property.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>

namespace {

// A connection on which these bytes have come, and then its end.
RedisConnection endedConnection(const std::string& bytes) {
    int sockets[2];
    require(socketpair(AF_UNIX, SOCK_STREAM, 0, sockets) == 0, "a pair of sockets is made");
    ::close(sockets[1]);
    RedisConnection connection(redisConnectFd(sockets[0]));
    require(redisReaderFeed(connection->reader, bytes.data(), bytes.size()) == REDIS_OK,
            "the bytes are taken");
    return connection;
}

class Described : public ReplyElements {
public:
    void add(std::string_view text) override {
        texts += std::to_string(text.size()) + ":" + std::string(text) + "\n";
    }

    std::string texts;
};

std::string describeHead(int type, std::string_view error) {
    return "type " + std::to_string(type) + " " + std::string(error) + "\n";
}

std::string describeStreamed(const std::string& bytes) {
    const RedisConnection connection = endedConnection(bytes);
    RedisReplyStream replies(connection.get());
    std::string description;
    while (true) {
        Described elements;
        StreamedReply reply;
        if (!replies.take(elements, reply)) {
            return description;
        }
        description += describeHead(reply.type, reply.text) + elements.texts;
    }
}

std::string describeObjects(const std::string& bytes) {
    const RedisConnection connection = endedConnection(bytes);
    std::string description;
    RedisReply reply;
    while (takeRedisReply(connection.get(), reply)) {
        const bool isError = reply->type == REDIS_REPLY_ERROR;
        Described elements;
        for (std::size_t i = 0; i < reply->elements; ++i) {
            elements.add(replyText(*reply->element[i]));
        }
        description += describeHead(reply->type, isError ? replyText(*reply) : "") + elements.texts;
    }
    return description;
}

// Whether an array is announced of a million elements or more: the library sets memory aside for
// all of them before the first one has come, more than a run of this program may have.
bool announcesAMillion(std::string_view bytes) {
    const std::size_t digitsOfAMillion = 7;
    for (std::size_t at = bytes.find_first_of("*%~>"); at != std::string_view::npos;
         at = bytes.find_first_of("*%~>", at + 1)) {
        const std::size_t end = bytes.find_first_not_of("0123456789", at + 1);
        if (std::min(end, bytes.size()) - at > digitsOfAMillion) {
            return true;
        }
    }
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes = Input(data, size).rest();
    if (announcesAMillion(bytes)) {
        return 0;
    }
    requireSame(describeStreamed(bytes), describeObjects(bytes), "what the replies are");
    return 0;
}
