#include "store/remove_resource.h"

#include "store/markers.h"
#include "store/resource_store.h"
#include "store/store_log.h"

#include <algorithm>
#include <string_view>
#include <unordered_set>

namespace {

// Adds the nested key that a field or entry names, unless it has been met before.
void collectNestedKey(const Marker& marker, std::unordered_set<std::string>& seen, ReadQueue& queue,
                      ReadQueue& keys) {
    if (marker.kind != MarkerKind::OBJECT && marker.kind != MarkerKind::ARRAY) {
        return;
    }
    ReadEntry entry;
    entry.kind = marker.kind == MarkerKind::OBJECT ? KeyKind::HASH : KeyKind::LIST;
    entry.key = marker.target;
    if (seen.insert(entry.key).second) {
        keys.push_back(entry);
        queue.push_back(std::move(entry));
    }
}

// A reply that is no array names nothing: a marker that leads to a key of another type must not
// keep the resource from being removed.
void collectNamedKeys(const ReadEntry& entry, const redisReply& content,
                      std::unordered_set<std::string>& seen, ReadQueue& queue, ReadQueue& keys) {
    const bool isHash = entry.kind == KeyKind::HASH;
    const std::size_t step = isHash ? 2 : 1;
    for (std::size_t i = 0; i < content.elements; i += step) {
        const std::string_view text = replyText(*content.element[i]);
        if (hasMarkerPrefix(text)) {
            collectNestedKey(isHash ? parseHashMarker(text) : parseListMarker(text), seen, queue,
                             keys);
        }
    }
}

int takeUnlinkReplies(redisContext* context, const ReadQueue& keys) {
    int result = STORE_OK;
    for (const ReadEntry& entry : keys) {
        RedisReply reply;
        if (!takeRedisReply(context, reply)) {
            logStoreError("Redis get reply failed!");
            result = STORE_MISSING;
        } else if (!reply) {
            logStoreError("The redis UNLINK failed with NULL result. URI=" + entry.key);
            result = STORE_MISSING;
        }
    }
    return result;
}

} // namespace

int collectResourceKeys(redisContext* context, const std::string& uri, bool recursive,
                        ReadQueue& keys) {
    ReadQueue queue;
    const int result = getResourceType(context, uri, queue);
    if (result != STORE_OK) {
        return result;
    }
    keys.push_back(queue.front());
    if (!recursive) {
        return STORE_OK;
    }
    std::unordered_set<std::string> seen = {uri};
    return readQueued(context, queue, [&](const ReadEntry& entry, const redisReply& content) {
        collectNamedKeys(entry, content, seen, queue, keys);
        return STORE_OK;
    });
}

int removeResource(redisContext* context, const std::string& uri, bool recursive, bool includeTop) {
    ReadQueue keys;
    const int result = collectResourceKeys(context, uri, recursive, keys);
    if (result != STORE_OK) {
        return result;
    }
    if (!includeTop) {
        std::erase_if(keys, [&uri](const ReadEntry& entry) { return entry.key == uri; });
    }
    for (const ReadEntry& entry : keys) {
        (void)redisAppendCommand(context, "UNLINK %s", entry.key.c_str());
    }
    return takeUnlinkReplies(context, keys);
}
