#include "store/array_elements.h"

#include "core/protocol/keys.h"
#include "core/redis_reply.h"
#include "store/key_walk.h"
#include "store/resource_keys.h"
#include "store/resource_store.h"
#include "store/store_log.h"

namespace {

bool removedNothing(const RedisReply& reply) {
    return isInteger(reply) && reply->integer == 0;
}

bool hasKey(const KeyList& keys, const std::string& key) {
    KeyNumber number = 0;
    while (number < keys.size() && keys[number].key != key) {
        ++number;
    }
    return number < keys.size();
}

// Tells a missing resource from one of another type, for which collectResourceKeys has one answer.
int collectKeys(redisContext* context, const std::string& uri, KeyList& keys) {
    const std::optional<std::string> type = askKeyType(context, uri);
    if (type == "none") {
        return STORE_MISSING;
    }
    if (!type || queueTopKey(uri, *type, keys) != STORE_OK) {
        logStoreError("Gets the resource type failed.");
        return STORE_NO_TYPE;
    }
    return collectNestedKeys(context, keys);
}

int trimToNothing(redisContext* context, const std::string& key, long long length) {
    const RedisReply reply = sendRedisCommand(
        context, {"LTRIM", key, std::to_string(static_cast<int>(length + 1)), "0"});
    if (!reply) {
        logStoreError("The redis LTRIM command failed with NULL result.");
        return STORE_MISSING;
    }
    if (!isStatusOk(reply)) {
        logStoreError("Clears array elements failed.");
        return STORE_NOT_CLEARED;
    }
    return STORE_OK;
}

} // namespace

bool getArrayLength(redisContext* context, const std::string& key, long long& count) {
    const RedisReply reply = sendRedisCommand(context, {"LLEN", key});
    if (!reply) {
        logStoreError("The redis LLEN command failed with NULL result. URI=" + key);
        return false;
    }
    if (!isInteger(reply)) {
        return false;
    }
    count = reply->integer;
    return true;
}

int deleteFields(redisContext* context, const std::string& key, const std::string& fields) {
    const RedisReply reply = sendRedisCommand(context, {"HDEL", key, fields});
    if (!reply) {
        logStoreError("The redis HDEL command failed with NULL result.");
        return STORE_MISSING;
    }
    if (removedNothing(reply)) {
        // Log readers look for exactly this text: nothing stands between the key and "FIELDS=".
        logStoreError("Deletes fields failed. RESOURCE=" + key + "FIELDS=" + fields);
        return STORE_NOT_THERE;
    }
    return STORE_OK;
}

int removeArrayElement(redisContext* context, const std::string& key, int count,
                       const std::string& element) {
    const RedisReply reply =
        sendRedisCommand(context, {"LREM", key, std::to_string(count), element});
    if (!reply) {
        logStoreError("The redis LREM command failed with NULL result.");
        return STORE_MISSING;
    }
    if (removedNothing(reply)) {
        logStoreError("Remove array element failed. RESOURCE=" + key + ", ELEMENT=" + element);
        return STORE_NOT_THERE;
    }
    return STORE_OK;
}

int clearArrayElements(redisContext* context, const std::string& uri, const std::string& memberPath,
                       bool removeNested) {
    KeyList keys;
    const int result = collectKeys(context, uri, keys);
    if (result != STORE_OK) {
        return result;
    }
    std::string key = uri + "/" + memberPath;
    addMarkerPrefix(key);
    long long length = 0;
    if (!hasKey(keys, key) || !getArrayLength(context, key, length)) {
        logStoreError("Gets array element count failed.");
        return STORE_NO_LENGTH;
    }
    if (removeNested) {
        // An array without nested keys has nothing to remove.
        (void)removeResource(context, key, true, false);
    }
    return trimToNothing(context, key, length);
}
