#pragma once

// The front end's connections to Redis, found through the same files as the daemon's
// (core/redis_connection.h), but afresh each time and without a word on standard error.
//
// Functions that talk to Redis throw FrontEndError (NO_REDIS) when it cannot be reached, refuses
// the command or gives no answer to it within five seconds. A session belongs to one thread at a
// time; several threads may each open their own.

#include "core/redis_connection.h"
#include "core/redis_reply.h"

#include <string>
#include <vector>

// A connected, authenticated and answering session.
[[nodiscard]] RedisConnection openRedisSession();

// Sends one command; each word is one argument and may hold any bytes. The reply is neither null
// nor an error.
RedisReply runCommand(redisContext* context, const std::vector<std::string>& words);

// The same, for words that hold a secret: nothing of them stays in the connection's buffers or in
// memory that was given back. What the caller holds is the caller's to wipe.
RedisReply runSecretCommand(redisContext* context, const std::vector<std::string>& words);

// As runCommand, for a reply that is an integer or a text; 0 or "" for a reply of another kind.
long long runIntegerCommand(redisContext* context, const std::vector<std::string>& words);
[[nodiscard]] std::string runTextCommand(redisContext* context,
                                         const std::vector<std::string>& words);

// The same, for an array of texts; empty for a reply of another kind.
[[nodiscard]] std::vector<std::string> runListCommand(redisContext* context,
                                                      const std::vector<std::string>& words);

// The bytes of a text reply; empty for any other.
[[nodiscard]] std::string replyBytes(const redisReply& reply);

// A field of a hash; empty when there is none, and when something else stands at the key.
[[nodiscard]] std::string readHashField(redisContext* context, const std::string& key,
                                        const std::string& field);
