#pragma once

// Walking the key tree of a resource, level by level: all keys of one level are asked for in one
// exchange with the server, and what their replies name makes up the next level.

#include "core/redis_reply.h"

#include <nlohmann/json_fwd.hpp>

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>

enum class KeyKind { HASH = 0, LIST = 1 };

// Where in the document the content of a key belongs: a value, or an element of an array. An
// element is found again by its index, since arrays move their elements while they grow.
struct DocumentPlace {
    nlohmann::json* value = nullptr;
    bool isElement = false;
    std::size_t index = 0;
};

// One key still to read.
struct ReadEntry {
    DocumentPlace place;
    KeyKind kind = KeyKind::HASH;
    std::string key;
    std::size_t ancestry = 0; // the reader's record of the keys above this one
};

using ReadQueue = std::deque<ReadEntry>;

// Asks for the type of the key and queues it when it is a hash or a list. STORE_OK,
// STORE_MISSING for any other type (a missing key too), STORE_NO_TYPE without a reply.
[[nodiscard]] int getResourceType(redisContext* context, const std::string& key, ReadQueue& queue);

// Appends the read command of the key to the pipeline.
void appendReadCommand(redisContext* context, const ReadEntry& entry);

// Takes the content of the entry. False, told on standard error, when there is no reply.
[[nodiscard]] bool takeContent(redisContext* context, const ReadEntry& entry, RedisReply& content);

// Reads everything queued, and what the handler queues meanwhile. The handler is called as
// int handler(const ReadEntry&, const redisReply&); a result other than STORE_OK ends the walk,
// after the replies still outstanding have been taken, so that the connection stays usable.
template <typename Handler>
[[nodiscard]] int readQueued(redisContext* context, ReadQueue& queue, Handler handler) {
    int result = 0;
    while (result == 0 && !queue.empty()) {
        for (const ReadEntry& entry : queue) {
            appendReadCommand(context, entry);
        }
        for (std::size_t outstanding = queue.size(); outstanding > 0; --outstanding) {
            const ReadEntry entry = std::move(queue.front());
            queue.pop_front();
            RedisReply content;
            if (!takeContent(context, entry, content)) {
                return -2;
            }
            if (result == 0) {
                result = handler(entry, *content);
            }
        }
    }
    return result;
}
