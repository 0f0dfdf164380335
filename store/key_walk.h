#pragma once

// Walking the key tree of a resource, level by level: all keys of one level are asked for in one
// exchange with the server, and what their replies name makes up the next level. Reading and
// removal share the walk.

#include "core/redis_reply.h"
#include "store/markers.h"

#include <cstddef>
#include <deque>
#include <functional>
#include <optional>
#include <string>

enum class KeyKind { HASH = 0, LIST = 1 };

// One key still to read, as the kind that its marker names.
struct QueuedKey {
    KeyKind kind = KeyKind::HASH;
    std::string key;
    std::size_t origin = 0; // the walker's own number for where the key was named; 0 for the top
};

// The kind of key that a structured marker names.
[[nodiscard]] KeyKind nestedKind(const Marker& marker);

using KeyQueue = std::deque<QueuedKey>;

// The type of the key as the server calls it, "none" for a missing one. Nothing, and a line logged,
// without a reply.
[[nodiscard]] std::optional<std::string> askKeyType(redisContext* context, const std::string& key);

// Queues the key when that type is a hash's or a list's. STORE_OK, STORE_MISSING for other types.
[[nodiscard]] int queueTopKey(const std::string& key, const std::string& type, KeyQueue& queue);

// Both in one. STORE_NO_TYPE without a reply.
[[nodiscard]] int getResourceType(redisContext* context, const std::string& key, KeyQueue& queue);

// Appends the read command of the key to the pipeline. False when no reply will come.
[[nodiscard]] bool appendReadCommand(redisContext* context, const QueuedKey& key);

// Given a key and its content, an array reply. A result other than STORE_OK ends the walk.
using ContentHandler = std::function<int(const QueuedKey& key, const redisReply& content)>;

// Reads everything queued, and what the handler queues meanwhile. A nested key that is not of its
// kind counts as gone: the handler is not called for it. STORE_OK, or the handler's result;
// STORE_MISSING, and a line logged, when a reply did not come or is an error. The replies still
// outstanding are taken first, so that the connection stays in step.
[[nodiscard]] int walkKeys(redisContext* context, KeyQueue& queue, const ContentHandler& handle);
