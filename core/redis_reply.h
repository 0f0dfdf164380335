#pragma once

// Commands to Redis and the replies to them, which are freed at the end of their scope.

#include "core/redis_pipeline.h"

#include <hiredis/hiredis.h>

#include <memory>
#include <string_view>

struct RedisReplyDeleter {
    void operator()(redisReply* reply) const;
};

// Null when the server gave no reply, which is not the same as an empty one. Its texts, which may
// be secrets, are overwritten before it is freed.
using RedisReply = std::unique_ptr<redisReply, RedisReplyDeleter>;

// Sends one command, blocking, and takes its reply. Every word is one argument, blanks included, up
// to its first NUL.
[[nodiscard]] RedisReply sendRedisCommand(redisContext* context, CommandWords words);
[[nodiscard]] RedisReply sendRedisCommand(redisContext* context,
                                          std::span<const std::string_view> words);

// Takes the next pipelined or pushed reply. False when the connection has failed; the reply is null
// then.
[[nodiscard]] bool takeRedisReply(redisContext* context, RedisReply& reply);

// The text of a reply or of an element of one, which it lives as long as; empty when it carries
// none.
[[nodiscard]] std::string_view replyText(const redisReply& reply);

[[nodiscard]] bool isInteger(const RedisReply& reply);

// True for the status "OK".
[[nodiscard]] bool isStatusOk(const RedisReply& reply);
