#include "core/redis_reply.h"

#include <cstdarg>
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

RedisReply sendRedisCommand(redisContext* context, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    RedisReply reply(static_cast<redisReply*>(redisvCommand(context, format, arguments)));
    va_end(arguments);
    return reply;
}

bool appendRedisCommand(redisContext* context, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const bool appended = redisvAppendCommand(context, format, arguments) == REDIS_OK;
    va_end(arguments);
    return appended;
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
