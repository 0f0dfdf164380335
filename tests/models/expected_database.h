#pragma once

// A database as it should become: the few Redis commands that the store sends, over plain
// containers. A test works out by rules of its own what the store should do to it, and compares the
// commands and the outcome with those of the real server.
//
// As on the server, a command on a key of another type does nothing, a list or hash without content
// is no key, and a hash that is not large keeps its fields in the order in which they were first
// set.

#include "tests/support/commands.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

class ExpectedDatabase {
public:
    using Fields = std::vector<std::pair<std::string, std::string>>;
    using Entries = std::vector<std::string>;

    std::string type(const std::string& key); // "hash", "list", "string" or "none"
    Fields hgetall(const std::string& key);
    Entries lrange(const std::string& key);
    void lset(const std::string& key, std::size_t index, const std::string& text);
    void unlink(const std::string& key);
    void set(const std::string& key, const std::string& text);

    // False when the server would answer with an error.
    bool hset(const std::string& key, const std::string& field, const std::string& text);
    bool rpush(const std::string& key, const std::string& text);

    // Nothing when the server would answer with an error.
    std::optional<std::size_t> lremAll(const std::string& key, const std::string& text);
    std::optional<std::size_t> llen(const std::string& key);
    std::optional<std::int64_t> incr(const std::string& key);

    // Everything called since the beginning or since forgetCommands(), as it would be sent.
    [[nodiscard]] const Commands& commands() const {
        return mCommands;
    }

    void forgetCommands() {
        mCommands.clear();
    }

    // In the form of RedisClient::dumpAll().
    [[nodiscard]] std::string dump() const;

private:
    using Content = std::variant<std::string, Fields, Entries>;

    template <typename Kind>
    Kind* find(const std::string& key);
    template <typename Kind>
    Kind* findOrMake(const std::string& key);

    std::map<std::string, Content> mKeys;
    Commands mCommands;
};
