#pragma once

// Ownership of hiredis replies: a reply taken into RedisReply is freed at the end of its scope.
//
// Commands go through redisCommand and redisAppendCommand with the formats that the stored form and
// the log name them by; writing the protocol by hand would save little and is left to hiredis.

#include <hiredis/hiredis.h>

#include <memory>

struct RedisReplyDeleter {
    void operator()(void* reply) const {
        freeReplyObject(reply);
    }
};

// Null when the server gave no reply, which is not the same as an empty one.
using RedisReply = std::unique_ptr<redisReply, RedisReplyDeleter>;

// Sends one command, blocking, and takes its reply. The format is hiredis's: every %s is one whole
// argument, blanks included.
template <typename... Arguments>
[[nodiscard]] RedisReply sendRedisCommand(redisContext* context, const char* format,
                                          Arguments... arguments) {
    return RedisReply(static_cast<redisReply*>(redisCommand(context, format, arguments...)));
}

// Takes the next pipelined or pushed reply. False when the connection has failed; the reply is null
// then.
[[nodiscard]] inline bool takeRedisReply(redisContext* context, RedisReply& reply) {
    void* taken = nullptr;
    const bool succeeded = redisGetReply(context, &taken) == REDIS_OK;
    reply.reset(static_cast<redisReply*>(taken));
    return succeeded;
}
