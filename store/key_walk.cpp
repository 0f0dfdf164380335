#include "store/key_walk.h"

#include "core/redis_reply.h"
#include "store/store_log.h"

namespace {

constexpr KeyNumber TOP = 0;

// A part of the queue, by numbers.
struct Level {
    KeyNumber begin;
    KeyNumber end;
};

int reportUnread(std::string_view key) {
    logStoreError("Gets redis resource failed. RESOURCE=" + std::string(key));
    return STORE_MISSING;
}

// The level's keys that will be answered end before this one.
KeyNumber askForLevel(redisContext* context, const KeyList& queue, const Level& level) {
    RedisPipeline commands(context);
    for (KeyNumber number = level.begin; number < level.end; ++number) {
        appendReadCommand(commands, queue[number]);
    }
    return level.begin + static_cast<KeyNumber>(commands.handOver());
}

bool isOfAnotherType(const StreamedReply& reply) {
    return reply.type == REDIS_REPLY_ERROR && reply.text.starts_with("WRONGTYPE");
}

// What the walk comes to with the reply to this key, given its result so far.
int judgeReply(const KeyList& queue, KeyNumber number, const StreamedReply& reply,
               const KeyContents& contents) {
    if (reply.type == REDIS_REPLY_ARRAY) {
        return contents.result();
    }
    return number != TOP && isOfAnotherType(reply) ? STORE_OK : reportUnread(queue[number].key);
}

// One exchange: the keys of the level, without those that they name.
int walkLevel(redisContext* context, const KeyList& queue, const Level& level,
              KeyContents& contents) {
    const KeyNumber askedEnd = askForLevel(context, queue, level);
    RedisReplyStream replies(context);
    ReplyElements ignored;
    int result = STORE_OK;
    for (KeyNumber number = level.begin; number < askedEnd; ++number) {
        const bool goesOn = result == STORE_OK;
        if (goesOn) {
            contents.enter(number);
        }
        StreamedReply reply;
        if (!replies.take(goesOn ? contents : ignored, reply)) {
            logStoreError("Redis get reply failed!");
            return STORE_MISSING;
        }
        if (!reply.came) {
            return reportUnread(queue[number].key);
        }
        if (goesOn) {
            result = judgeReply(queue, number, reply, contents);
        }
    }
    const bool isComplete = askedEnd == level.end;
    return isComplete || result != STORE_OK ? result : reportUnread(queue[askedEnd].key);
}

} // namespace

std::optional<std::string> askKeyType(redisContext* context, const std::string& key) {
    const RedisReply reply = sendRedisCommand(context, {"TYPE", key});
    if (!reply) {
        logStoreError("Gets resource type failed.");
        return std::nullopt;
    }
    return std::string(replyText(*reply));
}

int queueTopKey(const std::string& key, const std::string& type, KeyList& queue) {
    if (type != "hash" && type != "list") {
        return STORE_MISSING;
    }
    queue.add(type == "hash" ? KeyKind::HASH : KeyKind::LIST, key);
    return STORE_OK;
}

int getResourceType(redisContext* context, const std::string& key, KeyList& queue) {
    const std::optional<std::string> type = askKeyType(context, key);
    return type ? queueTopKey(key, *type, queue) : STORE_NO_TYPE;
}

void appendReadCommand(RedisPipeline& commands, const QueuedKey& key) {
    if (key.kind == KeyKind::HASH) {
        commands.append({"HGETALL", key.key});
    } else {
        commands.append({"LRANGE", key.key, "0", "-1"});
    }
}

int walkKeys(redisContext* context, const KeyList& queue, KeyContents& contents) {
    Level level = {TOP, queue.size()};
    int result = STORE_OK;
    while (result == STORE_OK && level.begin < level.end) {
        result = walkLevel(context, queue, level, contents);
        level = {level.end, queue.size()};
    }
    return result;
}
