#include "store/key_walk.h"

#include "store/store_log.h"
#include "store/store_result.h"

#include <algorithm>

namespace {

int reportUnread(const QueuedKey& key) {
    logStoreError("Gets redis resource failed. RESOURCE=" + key.key);
    return STORE_MISSING;
}

// The keys at the front of the queue for which a reply will come.
std::size_t appendReadCommands(redisContext* context, const KeyQueue& queue) {
    const auto failed = std::find_if_not(queue.begin(), queue.end(), [context](const auto& key) {
        return appendReadCommand(context, key);
    });
    return static_cast<std::size_t>(failed - queue.begin());
}

bool isOfAnotherType(const redisReply& content) {
    return content.type == REDIS_REPLY_ERROR && replyText(content).starts_with("WRONGTYPE");
}

int handleContent(const QueuedKey& key, const redisReply& content, const ContentHandler& handle) {
    if (content.type == REDIS_REPLY_ARRAY) {
        return handle(key, content);
    }
    const bool isNested = key.origin != 0;
    return isNested && isOfAnotherType(content) ? STORE_OK : reportUnread(key);
}

// One exchange: the keys that are queued now, without those that they name.
int walkLevel(redisContext* context, KeyQueue& queue, const ContentHandler& handle) {
    const std::size_t level = queue.size();
    const std::size_t asked = appendReadCommands(context, queue);
    int result = STORE_OK;
    for (std::size_t i = 0; i < asked; ++i) {
        const QueuedKey key = std::move(queue.front());
        queue.pop_front();
        RedisReply content;
        if (!takeRedisReply(context, content)) {
            logStoreError("Redis get reply failed!");
            return STORE_MISSING;
        }
        if (!content) {
            return reportUnread(key);
        }
        if (result == STORE_OK) {
            result = handleContent(key, *content, handle);
        }
    }
    return asked < level && result == STORE_OK ? reportUnread(queue.front()) : result;
}

} // namespace

KeyKind nestedKind(const Marker& marker) {
    return marker.kind == MarkerKind::OBJECT ? KeyKind::HASH : KeyKind::LIST;
}

std::optional<std::string> askKeyType(redisContext* context, const std::string& key) {
    const RedisReply reply = sendRedisCommand(context, "TYPE %s", key.c_str());
    if (!reply) {
        logStoreError("Gets resource type failed.");
        return std::nullopt;
    }
    return std::string(replyText(*reply));
}

int queueTopKey(const std::string& key, const std::string& type, KeyQueue& queue) {
    if (type != "hash" && type != "list") {
        return STORE_MISSING;
    }
    queue.push_back({type == "hash" ? KeyKind::HASH : KeyKind::LIST, key, 0});
    return STORE_OK;
}

int getResourceType(redisContext* context, const std::string& key, KeyQueue& queue) {
    const std::optional<std::string> type = askKeyType(context, key);
    return type ? queueTopKey(key, *type, queue) : STORE_NO_TYPE;
}

bool appendReadCommand(redisContext* context, const QueuedKey& key) {
    return key.kind == KeyKind::HASH
               ? appendRedisCommand(context, "HGETALL %s", key.key.c_str())
               : appendRedisCommand(context, "LRANGE %s 0 -1", key.key.c_str());
}

int walkKeys(redisContext* context, KeyQueue& queue, const ContentHandler& handle) {
    int result = STORE_OK;
    while (result == STORE_OK && !queue.empty()) {
        result = walkLevel(context, queue, handle);
    }
    return result;
}
