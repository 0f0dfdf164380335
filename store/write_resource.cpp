#include "store/write_resource.h"

#include "core/redis_reply.h"
#include "core/reply_stream.h"
#include "store/resource_store.h"
#include "store/sequence_id.h"
#include "store/store_log.h"
#include "store/update_tree.h"
#include "store/write_commands.h"

#include <nlohmann/json.hpp>

#include <functional>

namespace {

// Faults change nothing: what the server refused is missing, the rest is stored.
void takeWriteReply(RedisReplyStream& replies) {
    ReplyElements ignored;
    StreamedReply reply;
    if (!replies.take(ignored, reply)) {
        logStoreError("Redis get reply failed!");
    } else if (!reply.came) {
        logStoreError("Updates property failed with NULL result.");
    } else if (reply.type != REDIS_REPLY_INTEGER) {
        logStoreError("Updates property reply type is incorrect.");
    }
}

// The storing takes the ids that it uses from the one it is given.
void withSequenceIds(redisContext* context, const std::function<void(std::int64_t& id)>& store) {
    const std::int64_t firstId = nextArraySequenceId(context);
    std::int64_t id = firstId;
    store(id);
    if (id != firstId && !setArraySequenceId(context, id)) {
        logStoreError("Updates Array Sequence Id from " + std::to_string(firstId) + " to " +
                      std::to_string(id) + " failed!");
    }
}

void storeWritten(redisContext* context, const std::string& uri, const nlohmann::json& value) {
    withSequenceIds(context, [&](std::int64_t& id) {
        const int commands = appendWriteCommands(context, uri, value, id);
        RedisReplyStream replies(context);
        for (int i = 0; i < commands; ++i) {
            takeWriteReply(replies);
        }
    });
}

bool isStoredResource(const RedisReply& type) {
    return type && (replyText(*type) == "hash" || replyText(*type) == "list");
}

} // namespace

int storeResource(redisContext* context, const std::string& uri, const nlohmann::json& value,
                  const nlohmann::json& arrayConfiguration) {
    if (arrayConfiguration.is_null()) {
        storeWritten(context, uri, value);
        return STORE_OK;
    }
    withSequenceIds(context, [&](std::int64_t& id) {
        (void)updateResourceTree(context, uri, value, id, arrayConfiguration);
    });
    return STORE_OK;
}

void storeMerged(redisContext* context, const std::string& uri, const nlohmann::json& value,
                 const ArrayConfiguration& configuration) {
    withSequenceIds(context, [&](std::int64_t& id) {
        updateTree({context, id, configuration}, uri, value);
    });
}

int writeResource(redisContext* context, const std::string& uri, const nlohmann::json& value) {
    const RedisReply type = sendRedisCommand(context, {"TYPE", uri});
    int result = STORE_OK;
    if (isStoredResource(type)) {
        result = removeResource(context, uri, true, true);
    }
    if (result == STORE_OK) {
        result = storeResource(context, uri, value, nullptr);
    }
    if (result != STORE_OK) {
        logStoreError("Writes resource failed. URI=" + uri +
                      ", RESULT_CODE=" + std::to_string(result));
    }
    return result;
}
