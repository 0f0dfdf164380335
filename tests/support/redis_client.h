#pragma once

// A Redis connection of a test's own.

#include "tests/support/commands.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

class RedisServer;
struct redisContext;

// What the server answered. An error is an answer too.
struct RedisAnswer {
    enum class Type { NIL, INTEGER, STRING, STATUS, ERROR, ARRAY };

    Type type = Type::NIL;
    long long integer = 0;             // INTEGER
    std::string text;                  // STRING, STATUS, ERROR
    std::vector<RedisAnswer> elements; // ARRAY

    // The texts of an array's elements; integers in decimal, nil as an empty text.
    [[nodiscard]] std::vector<std::string> texts() const;
};

// Everything throws std::runtime_error when there is no answer (no connection, or 60 seconds over).
class RedisClient {
public:
    // Connected over the Unix socket, and authenticated when the server has a password.
    explicit RedisClient(const RedisServer& server);

    // The same over TCP: in a CommandMonitor such a client differs from the daemon on the socket.
    static RedisClient overTcp(const RedisServer& server);

    RedisClient(RedisClient&&) noexcept;
    ~RedisClient();

    [[nodiscard]] RedisAnswer commandList(const Command& words);

    // command("HSET", key, field, value): one argument for each word, any bytes.
    template <typename... Words>
    RedisAnswer command(const Words&... words) {
        return commandList({std::string(words)...});
    }

    // The next message on a connection that has subscribed or monitors. False when none comes in
    // this time; the connection stays usable.
    [[nodiscard]] bool nextMessage(RedisAnswer& message, double seconds);

    // The hiredis connection itself, to be handed to the code under test. Stays owned here.
    [[nodiscard]] redisContext* context() {
        return mContext.get();
    }

    [[nodiscard]] std::vector<std::string> keys(); // sorted
    [[nodiscard]] std::map<std::string, std::string> hash(const std::string& key);
    [[nodiscard]] std::vector<std::string> list(const std::string& key);

    // Everything in the database as one text, sorted by key and field. Texts as describeText gives
    // them, list entries in their order, a lifetime (in seconds, rounded up) only when there is
    // one:
    //   /key (hash)
    //     field = value
    //   /other (list) expires 6
    //     [0] = value
    //   /third (string) = value
    [[nodiscard]] std::string dumpAll();

    void flushAll();

private:
    struct Release {
        void operator()(redisContext* context) const;
    };

    RedisClient(redisContext* context, const std::string& password);
    std::string dumpKey(const std::string& key);

    std::unique_ptr<redisContext, Release> mContext;
};
