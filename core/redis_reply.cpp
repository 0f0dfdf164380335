#include "core/redis_reply.h"

#include <cstring>

namespace {

// Goes no deeper than freeReplyObject itself.
void wipeReply(redisReply& reply) {
    if (reply.str != nullptr) {
        explicit_bzero(reply.str, reply.len);
    }
    for (std::size_t i = 0; i < reply.elements; ++i) {
        wipeReply(*reply.element[i]);
    }
}

} // namespace

void RedisReplyDeleter::operator()(redisReply* reply) const {
    wipeReply(*reply);
    freeReplyObject(reply);
}

RedisReply sendRedisCommand(redisContext* context, CommandWords words) {
    return sendRedisCommand(context, std::span(words.begin(), words.size()));
}

RedisReply sendRedisCommand(redisContext* context, std::span<const std::string_view> words) {
    RedisPipeline command(context);
    command.append(words);
    RedisReply reply;
    if (command.handOver() == 1) {
        (void)takeRedisReply(context, reply);
    }
    return reply;
}

bool takeRedisReply(redisContext* context, RedisReply& reply) {
    void* taken = nullptr;
    const bool succeeded = redisGetReply(context, &taken) == REDIS_OK;
    reply.reset(static_cast<redisReply*>(taken));
    return succeeded;
}

std::string_view replyText(const redisReply& reply) {
    return reply.str == nullptr ? std::string_view() : std::string_view(reply.str, reply.len);
}

bool isInteger(const RedisReply& reply) {
    return reply && reply->type == REDIS_REPLY_INTEGER;
}

bool isStatusOk(const RedisReply& reply) {
    return reply && reply->type == REDIS_REPLY_STATUS && replyText(*reply) == "OK";
}
