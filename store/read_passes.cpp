#include "store/read_passes.h"

#include "store/resource_store.h"
#include "store/store_log.h"

int getResourceType(redisContext* context, const std::string& key, ReadQueue& queue) {
    const RedisReply reply = sendRedisCommand(context, "TYPE %s", key.c_str());
    if (!reply) {
        logStoreError("Gets resource type failed.");
        return STORE_NO_TYPE;
    }
    const std::string_view type = replyText(*reply);
    if (type != "hash" && type != "list") {
        return STORE_MISSING;
    }
    ReadEntry entry;
    entry.kind = type == "hash" ? KeyKind::HASH : KeyKind::LIST;
    entry.key = key;
    queue.push_back(std::move(entry));
    return STORE_OK;
}

void appendReadCommand(redisContext* context, const ReadEntry& entry) {
    const char* format = entry.kind == KeyKind::HASH ? "HGETALL %s" : "LRANGE %s 0 -1";
    (void)redisAppendCommand(context, format, entry.key.c_str());
}

bool takeContent(redisContext* context, const ReadEntry& entry, RedisReply& content) {
    if (!takeRedisReply(context, content)) {
        logStoreError("Redis get reply failed!");
        return false;
    }
    if (!content) {
        logStoreError("Gets redis resource failed. RESOURCE=" + entry.key);
        return false;
    }
    return true;
}
