#include "store/array_merge.h"

#include "core/protocol/keys.h"
#include "core/redis_reply.h"
#include "core/reply_stream.h"
#include "store/array_elements.h"
#include "store/markers.h"
#include "store/resource_encoding.h"
#include "store/resource_store.h"
#include "store/store_log.h"

#include <nlohmann/json.hpp>

#include <utility>

namespace {

using nlohmann::json;

const std::string TO_DELETE = "ToDelete";
const std::string NULL_ENTRY = "null";
constexpr std::int64_t STYLE_NEW_LENGTH = 2; // takes the new array's length as its maximum
constexpr std::int64_t STYLE_KEEP_SLOTS = 3; // keeps slots as null instead of deleting them

std::vector<std::string> readEntries(redisContext* context, const std::string& key) {
    const RedisReply reply = sendRedisCommand(context, {"LRANGE", key, "0", "-1"});
    std::vector<std::string> entries;
    for (std::size_t i = 0; reply && i < reply->elements; ++i) {
        entries.emplace_back(replyText(*reply->element[i]));
    }
    return entries;
}

void setEntry(const Update& update, const ArrayMerge& merge, std::size_t index,
              std::string_view text) {
    (void)sendRedisCommand(update.context,
                           {"LSET", merge.key, std::to_string(static_cast<int>(index)), text});
}

void pushEntry(const Update& update, const ArrayMerge& merge, std::string_view text) {
    (void)sendRedisCommand(update.context, {"RPUSH", merge.key, text});
}

bool hasSlot(const ArrayMerge& merge, std::size_t index) {
    return index < merge.current.size();
}

// The nested key of the list's entry at index; empty when the entry is not there or has none.
std::string currentNestedKey(const ArrayMerge& merge, std::size_t index) {
    return hasSlot(merge, index) ? nestedKeyOf(merge.current[index]) : std::string();
}

// The entry at index gives way to the mark, and what it held is removed at the end.
void clearSlot(const Update& update, ArrayMerge& merge, std::size_t index,
               const std::string& mark) {
    std::string orphan = currentNestedKey(merge, index);
    if (!orphan.empty()) {
        merge.orphans.push_back(std::move(orphan));
    }
    setEntry(update, merge, index, mark);
    merge.needsCleanup = true;
}

const std::string& markOf(const Update& update) {
    return update.configuration.style == STYLE_KEEP_SLOTS ? NULL_ENTRY : TO_DELETE;
}

// False when the list must stay as it is.
bool chooseMaximum(const Update& update, ArrayMerge& merge, std::size_t newLength) {
    const bool followsNewLength = update.configuration.style == STYLE_NEW_LENGTH;
    const std::optional<ArrayMaximum>& maximum = update.configuration.maximum;
    merge.fillNull = update.configuration.fillNull;
    if (maximum) {
        merge.slots = maximum->slots;
        return followsNewLength || merge.current.size() <= maximum->longest;
    }
    merge.slots = followsNewLength ? newLength : merge.current.size();
    merge.fillNull = merge.fillNull && !followsNewLength;
    return true;
}

// In style 3 all slots stay: a list longer than its maximum has been skipped.
void shrink(const Update& update, ArrayMerge& merge, std::size_t newLength) {
    if (newLength == 0) {
        return;
    }
    for (std::size_t i = newLength; i < merge.current.size(); ++i) {
        clearSlot(update, merge, i, markOf(update));
    }
}

void overflow(const Update& update, ArrayMerge& merge, std::size_t index) {
    // Right behind the end too, where the command fails: what is sent stays the same.
    if (index <= merge.current.size()) {
        clearSlot(update, merge, index, TO_DELETE);
    }
    merge.overflowed = true;
}

void deleteEntry(const Update& update, ArrayMerge& merge, std::size_t index) {
    clearSlot(update, merge, index, markOf(update));
    if (update.configuration.style != STYLE_KEEP_SLOTS) {
        ++merge.deleted;
    }
}

void storeEntry(const Update& update, const ArrayMerge& merge, std::size_t index,
                std::string_view text) {
    if (hasSlot(merge, index)) {
        setEntry(update, merge, index, text);
    } else {
        pushEntry(update, merge, text);
    }
}

// Fills the slot, or appends behind the last one. An object or array takes a nested key of its own,
// a reference too: the hash that is written there outlives the resource, since no marker names it.
std::optional<NestedUpdate> storeElement(const Update& update, const ArrayMerge& merge,
                                         std::size_t index, const json& element) {
    MemberEntry entry =
        makeMemberEntry(merge.key, update.sequenceId, std::to_string(index), element);
    if (!entry.nestedKey.empty()) {
        const std::string marker =
            makeMarker(MarkerMode::ARRAY_ELEMENT, element, entry.nestedKey, entry.memberName);
        storeEntry(update, merge, index, marker);
        return NestedUpdate{std::move(entry.nestedKey), &element};
    }
    if (!entry.valueText.empty()) {
        storeEntry(update, merge, index, elementText(element, entry.valueText));
    }
    return std::nullopt;
}

bool isReferenceTo(const std::string& entry, const json& element) {
    const std::string* uri = referencedUri(element);
    return uri != nullptr && entry == referenceEntry(*uri);
}

std::optional<NestedUpdate> replaceEntry(const Update& update, const ArrayMerge& merge,
                                         std::size_t index, const json& element) {
    if (isReferenceTo(merge.current[index], element)) {
        return std::nullopt;
    }
    std::string nestedKey = currentNestedKey(merge, index);
    if (element.is_structured() && !nestedKey.empty()) {
        return NestedUpdate{std::move(nestedKey), &element};
    }
    // What a scalar overwrites keeps its keys. A reference that is overwritten leaves its target
    // alone.
    return storeElement(update, merge, index, element);
}

// An object without members leaves its slot alone; with null filling the list below is filled.
std::optional<NestedUpdate> fillBelow(const ArrayMerge& merge, std::size_t index) {
    static const json emptyArray = json::array();
    std::string nestedKey = currentNestedKey(merge, index);
    if (!merge.fillNull || nestedKey.empty()) {
        return std::nullopt;
    }
    return NestedUpdate{std::move(nestedKey), &emptyArray};
}

// All entries that are missing go out in one exchange.
void fillWithNull(const Update& update, const ArrayMerge& merge) {
    long long length = 0;
    if (!getArrayLength(update.context, merge.key, length)) {
        return;
    }
    RedisPipeline commands(update.context);
    for (auto filled = static_cast<std::size_t>(length); filled < merge.slots; ++filled) {
        commands.append({"RPUSH", merge.key, NULL_ENTRY});
    }
    std::size_t asked = commands.handOver();
    RedisReplyStream replies(update.context);
    for (; asked > 0; --asked) {
        ReplyElements ignored;
        StreamedReply reply;
        (void)replies.take(ignored, reply);
    }
}

} // namespace

std::optional<ArrayMerge> beginArrayMerge(const Update& update, const std::string& key,
                                          const json& newArray) {
    ArrayMerge merge;
    merge.key = key;
    merge.current = readEntries(update.context, key);
    if (!chooseMaximum(update, merge, newArray.size())) {
        logStoreError("Input Max array size is smaller than current size. Skips update action. "
                      "Resource=" +
                      key);
        return std::nullopt;
    }
    shrink(update, merge, newArray.size());
    return merge;
}

std::optional<NestedUpdate> mergeElement(const Update& update, ArrayMerge& merge, std::size_t index,
                                         const json& element) {
    if (merge.deleted + merge.slots <= index) {
        overflow(update, merge, index);
        return std::nullopt;
    }
    if (!hasSlot(merge, index)) {
        return storeElement(update, merge, index, element); // append
    }
    if (element.is_object() && element.empty()) {
        return fillBelow(merge, index);
    }
    if (element.is_null()) {
        deleteEntry(update, merge, index);
        return std::nullopt;
    }
    const bool isFree = merge.current[index] == NULL_ENTRY;
    return isFree ? storeElement(update, merge, index, element) // fill
                  : replaceEntry(update, merge, index, element);
}

void finishArrayMerge(const Update& update, const ArrayMerge& merge) {
    if (merge.needsCleanup) {
        (void)removeArrayElement(update.context, merge.key, 0, TO_DELETE);
        for (const std::string& orphan : merge.orphans) {
            (void)removeResource(update.context, orphan, true, true);
        }
    }
    if (merge.fillNull && !merge.overflowed) {
        fillWithNull(update, merge);
    }
}
