// Removing resources: first the key tree is read, one exchange for each level, then all keys go in
// one pipeline.

#include "core/redis_pipeline.h"
#include "core/reply_stream.h"
#include "store/resource_keys.h"
#include "store/resource_store.h"
#include "store/store_log.h"

namespace {

// The keys to unlink, in order.
std::vector<std::string_view> keysToUnlink(const KeyList& keys, bool includeTop) {
    std::vector<std::string_view> unlinked;
    unlinked.reserve(keys.size());
    for (KeyNumber number = includeTop ? 0 : 1; number < keys.size(); ++number) {
        if (!keys[number].isRepeated) {
            unlinked.push_back(keys[number].key);
        }
    }
    return unlinked;
}

int reportNotUnlinked(std::string_view key) {
    logStoreError("The redis UNLINK failed with NULL result. URI=" + std::string(key));
    return STORE_MISSING;
}

int takeUnlinkReply(RedisReplyStream& replies, std::string_view key) {
    ReplyElements ignored;
    StreamedReply reply;
    if (!replies.take(ignored, reply)) {
        logStoreError("Redis get reply failed!");
        return STORE_MISSING;
    }
    return reply.came ? STORE_OK : reportNotUnlinked(key);
}

int unlinkAll(redisContext* context, const std::vector<std::string_view>& keys) {
    RedisPipeline commands(context);
    for (const std::string_view key : keys) {
        commands.append({"UNLINK", key});
    }
    const std::size_t asked = commands.handOver();
    RedisReplyStream replies(context);
    int result = STORE_OK;
    for (std::size_t i = 0; i < asked; ++i) {
        if (takeUnlinkReply(replies, keys[i]) != STORE_OK) {
            result = STORE_MISSING; // the remaining replies are taken all the same
        }
    }
    return asked < keys.size() ? reportNotUnlinked(keys[asked]) : result;
}

} // namespace

int removeResource(redisContext* context, const std::string& uri, bool recursive, bool includeTop) {
    KeyList keys;
    const int result = collectResourceKeys(context, uri, recursive, keys);
    return result == STORE_OK ? unlinkAll(context, keysToUnlink(keys, includeTop)) : result;
}
