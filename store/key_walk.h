#pragma once

// Walking the key tree of a resource, level by level: all keys of one level are asked for in one
// exchange with the server, and what their replies name makes up the next level. Reading and
// removal share the walk.

#include "core/reply_stream.h"
#include "store/key_list.h"
#include "store/store_result.h"

#include <optional>
#include <string>

class RedisPipeline;

// The type of the key as the server calls it, "none" for a missing one. Nothing, and a line logged,
// without a reply.
[[nodiscard]] std::optional<std::string> askKeyType(redisContext* context, const std::string& key);

// Queues the key when that type is a hash's or a list's. STORE_OK, STORE_MISSING for other types.
[[nodiscard]] int queueTopKey(const std::string& key, const std::string& type, KeyList& queue);

// Both in one. STORE_NO_TYPE without a reply.
[[nodiscard]] int getResourceType(redisContext* context, const std::string& key, KeyList& queue);

// Appends the read command of the key.
void appendReadCommand(RedisPipeline& commands, const QueuedKey& key);

// Takes what the keys of a walk hold: entries of a list, or field and value in turn of a hash.
class KeyContents : public ReplyElements {
public:
    // The content of the queued key of this number comes next.
    virtual void enter(KeyNumber number) = 0;

    // STORE_OK, or what ends the walk.
    [[nodiscard]] virtual int result() const = 0;
};

// Reads every key of the queue, and those that are queued meanwhile. A nested key that is not of
// its kind counts as gone and has no content. STORE_OK, or the result of the contents;
// STORE_MISSING, and a line logged, when a reply did not come or is an error. The replies still
// outstanding are taken first, so that the connection stays in step.
[[nodiscard]] int walkKeys(redisContext* context, const KeyList& queue, KeyContents& contents);
