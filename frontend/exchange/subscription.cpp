#include "frontend/exchange/subscription.h"

#include "frontend/exchange/front_end_error.h"
#include "frontend/exchange/interrupt.h"

#include <poll.h>

#include <algorithm>

namespace {

// A signal that comes between the check for it and the wait itself is noticed after this time.
constexpr int LONGEST_WAIT_MILLISECONDS = 200;

[[noreturn]] void throwConnectionLost(const redisContext* context) {
    throw FrontEndError(FailureKind::NO_REDIS,
                        std::string("The connection to Redis is lost: ") + context->errstr);
}

// A reply that has arrived already; null when there is none yet.
RedisReply takeArrivedReply(redisContext* context) {
    void* taken = nullptr;
    if (redisReaderGetReply(context->reader, &taken) != REDIS_OK) {
        throw FrontEndError(FailureKind::NO_REDIS, "Redis sends a reply that cannot be read.");
    }
    return RedisReply(static_cast<redisReply*>(taken));
}

bool isReadable(const redisContext* context, Clock::time_point deadline) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    pollfd descriptor = {context->fd, POLLIN, 0};
    const int wait =
        static_cast<int>(std::clamp<long long>(left + 1, 0, LONGEST_WAIT_MILLISECONDS));
    return poll(&descriptor, 1, wait) > 0;
}

std::optional<ChannelMessage> messageOf(const redisReply& reply) {
    const bool isMessage = reply.type == REDIS_REPLY_ARRAY && reply.elements == 3 &&
                           replyBytes(*reply.element[0]) == "message";
    if (!isMessage) {
        return std::nullopt;
    }
    return ChannelMessage{replyBytes(*reply.element[1]), replyBytes(*reply.element[2])};
}

} // namespace

void subscribe(redisContext* context, const std::vector<std::string>& channels) {
    for (const std::string& channel : channels) {
        (void)runCommand(context, {"SUBSCRIBE", channel});
    }
}

std::optional<ChannelMessage> nextMessage(redisContext* context, Clock::time_point deadline) {
    while (!wasInterrupted()) {
        const RedisReply reply = takeArrivedReply(context);
        if (reply) {
            std::optional<ChannelMessage> message = messageOf(*reply);
            if (message) {
                return message;
            }
            continue;
        }
        if (isReadable(context, deadline)) {
            if (redisBufferRead(context) != REDIS_OK) {
                throwConnectionLost(context);
            }
        } else if (Clock::now() >= deadline) {
            break;
        }
    }
    return std::nullopt;
}
