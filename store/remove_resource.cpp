// Removing resources: first the key tree is read, one exchange for each level, then all keys go in
// one pipeline.

#include "store/resource_keys.h"
#include "store/resource_store.h"
#include "store/store_log.h"

namespace {

// The keys at the front for which a reply will come.
std::size_t appendUnlinks(redisContext* context, const KeyQueue& keys) {
    std::size_t appended = 0;
    while (appended < keys.size() &&
           appendRedisCommand(context, "UNLINK %s", keys[appended].key.c_str())) {
        ++appended;
    }
    return appended;
}

int takeUnlinkReply(redisContext* context, const QueuedKey& key) {
    RedisReply reply;
    if (!takeRedisReply(context, reply)) {
        logStoreError("Redis get reply failed!");
        return STORE_MISSING;
    }
    if (!reply) {
        logStoreError("The redis UNLINK failed with NULL result. URI=" + key.key);
        return STORE_MISSING;
    }
    return STORE_OK;
}

int unlinkAll(redisContext* context, const KeyQueue& keys) {
    const std::size_t appended = appendUnlinks(context, keys);
    int result = STORE_OK;
    for (std::size_t i = 0; i < appended; ++i) {
        if (takeUnlinkReply(context, keys[i]) != STORE_OK) {
            result = STORE_MISSING; // the remaining replies are taken all the same
        }
    }
    if (appended < keys.size()) {
        logStoreError("The redis UNLINK failed with NULL result. URI=" + keys[appended].key);
        return STORE_MISSING;
    }
    return result;
}

} // namespace

int removeResource(redisContext* context, const std::string& uri, bool recursive, bool includeTop) {
    KeyQueue keys;
    const int result = collectResourceKeys(context, uri, recursive, keys);
    if (result != STORE_OK) {
        return result;
    }
    if (!includeTop) {
        keys.pop_front();
    }
    return unlinkAll(context, keys);
}
