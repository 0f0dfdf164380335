// The document is walked with a stack of its own, depth first, so that its depth costs heap and not
// thread stack; each object or array on the way is one WriteFrame.

#include "store/write_resource.h"

#include "core/redis_reply.h"
#include "store/markers.h"
#include "store/read_passes.h"
#include "store/resource_encoding.h"
#include "store/resource_store.h"
#include "store/sequence_id.h"
#include "store/store_log.h"
#include "store/update_tree.h"

#include <nlohmann/json.hpp>

#include <vector>

namespace {

struct WriteFrame {
    WriteFrame(std::string frameKey, const nlohmann::json& value)
        : key(std::move(frameKey)), isObject(value.is_object()), next(value.begin()),
          end(value.end()) {}

    std::string key;
    bool isObject;
    nlohmann::json::const_iterator next;
    nlohmann::json::const_iterator end;
    std::size_t index = 0; // of next, in an array
};

using WriteStack = std::vector<WriteFrame>;

int appendField(redisContext* context, const std::string& key, const std::string& field,
                const std::string& text) {
    return redisAppendCommand(context, "HSET %s %s %s", key.c_str(), field.c_str(), text.c_str()) ==
                   REDIS_OK
               ? 1
               : 0;
}

int appendElement(redisContext* context, const std::string& key, const std::string& text) {
    return redisAppendCommand(context, "RPUSH %s %s", key.c_str(), text.c_str()) == REDIS_OK ? 1
                                                                                             : 0;
}

// May push onto the stack: the frame is not to be used afterwards.
int appendMember(redisContext* context, WriteStack& stack, const std::string& name,
                 const nlohmann::json& value) {
    const std::string& key = stack.back().key;
    std::int64_t objectNaming = NO_SEQUENCE_ID;
    MemberEntry entry = makeMemberEntry(key, objectNaming, name, value);
    if (!entry.nestedKey.empty()) {
        const std::string marker =
            makeMarker(MarkerMode::OBJECT_MEMBER, value, entry.nestedKey, name);
        const int appended = appendField(context, key, marker, "");
        if (!isHashReference(marker)) {
            stack.emplace_back(std::move(entry.nestedKey), value);
        }
        return appended;
    }
    if (entry.valueText.empty()) {
        return 0;
    }
    if (!hasMarkerPrefix(name)) {
        return appendField(context, key, name, entry.valueText);
    }
    const auto* text = value.get_ptr<const std::string*>();
    return text == nullptr ? 0 : appendField(context, key, name, *text);
}

// May push onto the stack: the frame is not to be used afterwards.
int appendArrayElement(redisContext* context, WriteStack& stack, std::size_t index,
                       const nlohmann::json& value, std::int64_t& sequenceId) {
    const std::string& key = stack.back().key;
    std::int64_t nextId = sequenceId;
    MemberEntry entry = makeMemberEntry(key, nextId, std::to_string(index), value);
    if (entry.nestedKey.empty()) {
        return entry.valueText.empty()
                   ? 0
                   : appendElement(context, key, elementText(value, std::move(entry.valueText)));
    }
    const std::string marker =
        makeMarker(MarkerMode::ARRAY_ELEMENT, value, entry.nestedKey, entry.memberName);
    const int appended = appendElement(context, key, marker);
    if (!isListReference(marker)) {
        // A reference takes no id: nothing is stored under it.
        sequenceId = nextId;
        stack.emplace_back(std::move(entry.nestedKey), value);
    }
    return appended;
}

void takeWriteReplies(redisContext* context, int commands) {
    for (int i = 0; i < commands; ++i) {
        RedisReply reply;
        if (!takeRedisReply(context, reply)) {
            logStoreError("Redis get reply failed!");
        } else if (!reply) {
            logStoreError("Updates property failed with NULL result.");
        } else if (reply->type != REDIS_REPLY_INTEGER) {
            logStoreError("Updates property reply type is incorrect.");
        }
    }
}

bool isStoredResource(const RedisReply& type) {
    return type && (replyText(*type) == "hash" || replyText(*type) == "list");
}

} // namespace

int appendWriteCommands(redisContext* context, const std::string& key, const nlohmann::json& value,
                        std::int64_t& sequenceId) {
    if (!value.is_structured()) {
        return 0;
    }
    WriteStack stack;
    stack.emplace_back(key, value);
    int commands = 0;
    while (!stack.empty()) {
        WriteFrame& frame = stack.back();
        if (frame.next == frame.end) {
            stack.pop_back();
            continue;
        }
        const auto item = frame.next++;
        commands += frame.isObject
                        ? appendMember(context, stack, item.key(), *item)
                        : appendArrayElement(context, stack, frame.index++, *item, sequenceId);
    }
    return commands;
}

int storeResource(redisContext* context, const std::string& uri, const nlohmann::json& value,
                  const nlohmann::json& arrayConfiguration) {
    const std::int64_t firstId = nextArraySequenceId(context);
    std::int64_t id = firstId;
    if (arrayConfiguration.is_null()) {
        takeWriteReplies(context, appendWriteCommands(context, uri, value, id));
    } else {
        (void)updateResourceTree(context, uri, value, id, arrayConfiguration);
    }
    if (id != firstId && !setArraySequenceId(context, id)) {
        logStoreError("Updates Array Sequence Id from " + std::to_string(firstId) + " to " +
                      std::to_string(id) + " failed!");
    }
    return STORE_OK;
}

int writeResource(redisContext* context, const std::string& uri, const nlohmann::json& value) {
    const RedisReply type = sendRedisCommand(context, "TYPE %s", uri.c_str());
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
