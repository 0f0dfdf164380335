#pragma once

// Sending commands with hiredis, and ownership of its replies: a reply taken into RedisReply is
// freed at the end of its scope.

#include <hiredis/hiredis.h>

#include <array>
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

// Appends one command, "%s" for each word, that goes out with the next exchange. The bytes are
// those of redisAppendCommand, which reads the format anew for each of a resource's many commands;
// that took two thirds of writing one. Words end at a NUL. False when there is no memory for it.
template <std::size_t COUNT>
[[nodiscard]] bool appendRedisCommand(redisContext* context, std::array<const char*, COUNT> words) {
    return redisAppendCommandArgv(context, static_cast<int>(COUNT), words.data(), nullptr) ==
           REDIS_OK;
}

// Takes the next pipelined or pushed reply. False when the connection has failed; the reply is null
// then.
[[nodiscard]] inline bool takeRedisReply(redisContext* context, RedisReply& reply) {
    void* taken = nullptr;
    const bool succeeded = redisGetReply(context, &taken) == REDIS_OK;
    reply.reset(static_cast<redisReply*>(taken));
    return succeeded;
}
