#pragma once

// A connection to a real Redis server on which single commands go wrong.
//
// A thread stands between the connection and the server: it hands every command on and the reply
// back, except where the test's interceptor answers in the server's place. The code under test
// waits for the reply meanwhile, so the interceptor may also look at the state of things between
// two commands.

#include "tests/support/commands.h"

#include <functional>
#include <optional>
#include <string>
#include <thread>

class RedisServer;
struct redisContext;

class RedisProxy {
public:
    // The reply to the command as it stands on the wire ("-ERR broken\r\n"), an empty text to
    // close the connection instead, or nothing to hand the command on.
    using Interceptor = std::function<std::optional<std::string>(const Command&)>;

    RedisProxy(const RedisServer& server, Interceptor interceptor);
    ~RedisProxy();
    RedisProxy(const RedisProxy&) = delete;
    RedisProxy& operator=(const RedisProxy&) = delete;

    // The connection for the code under test. Stays owned here.
    [[nodiscard]] redisContext* context() const {
        return mContext;
    }

private:
    void serve(int client);
    bool answer(int client, const Command& command);

    Interceptor mInterceptor;
    redisContext* mUpstream;
    redisContext* mContext;
    std::thread mThread;
};

// Whether the command begins with these words.
[[nodiscard]] bool beginsWith(const Command& command, const Command& beginning);

// Answers the first command that begins with these words; all others are handed on.
[[nodiscard]] RedisProxy::Interceptor answerOnce(Command beginning, std::string reply);

inline const std::string ERROR_REPLY = "-ERR broken\r\n";
inline const std::string HASH_TYPE_REPLY = "+hash\r\n";
inline const std::string CLOSE_CONNECTION;
