// The document is walked with a stack of frames, one for each object or array on the way down, so
// that its depth costs heap and not thread stack. A frame is done when its last member or element
// has been dealt with and everything below that is done too; a list is cleaned up and filled then.

#include "store/update_tree.h"

#include "core/redis_reply.h"
#include "store/array_elements.h"
#include "store/markers.h"
#include "store/read_passes.h"
#include "store/resource_encoding.h"
#include "store/resource_store.h"
#include "store/sequence_id.h"
#include "store/store_log.h"

#include <nlohmann/json.hpp>

#include <utility>
#include <vector>

namespace {

const std::string TO_DELETE = "ToDelete";
const std::string NULL_ENTRY = "null";
constexpr std::int64_t MAX_STYLE = 3;
constexpr std::int64_t STYLE_NEW_LENGTH = 2; // takes the new array's length as its maximum
constexpr std::int64_t STYLE_KEEP_SLOTS = 3; // keeps slots as null instead of deleting them

// How the merge of one list stands.
struct ListMerge {
    std::vector<std::string> current; // entries at the start of the merge
    double maxSize = 0;
    bool fillNull = false;
    std::size_t deleted = 0; // slots marked for deletion while merging
    bool overflowed = false;
    bool needsCleanup = false;
    std::vector<std::string> orphans; // nested keys of entries that went
};

struct UpdateFrame {
    std::string key;
    const nlohmann::json* value = nullptr;
    nlohmann::json::const_iterator next;
    std::size_t index = 0; // of next, in an array
    ListMerge merge;       // arrays only
};

struct Update {
    redisContext* context;
    std::int64_t& sequenceId;
    ArrayConfiguration configuration;
    std::vector<UpdateFrame> stack;
};

std::vector<std::string> readEntries(redisContext* context, const std::string& key) {
    const RedisReply reply = sendRedisCommand(context, "LRANGE %s 0 -1", key.c_str());
    std::vector<std::string> entries;
    for (std::size_t i = 0; reply && i < reply->elements; ++i) {
        entries.emplace_back(replyText(*reply->element[i]));
    }
    return entries;
}

// Replies of an update are not looked at: a command that fails leaves its entry as it was.
void setEntry(redisContext* context, const std::string& key, std::size_t index,
              const std::string& text) {
    (void)sendRedisCommand(context, "LSET %s %d %s", key.c_str(), static_cast<int>(index),
                           text.c_str());
}

void pushEntry(redisContext* context, const std::string& key, const std::string& text) {
    (void)sendRedisCommand(context, "RPUSH %s %s", key.c_str(), text.c_str());
}

void setField(redisContext* context, const std::string& key, const std::string& field,
              const std::string& text) {
    (void)sendRedisCommand(context, "HSET %s %s %s", key.c_str(), field.c_str(), text.c_str());
}

// The nested key of the list's entry at index; empty when the entry is not there or has none.
std::string currentNestedKey(const ListMerge& merge, std::size_t index) {
    return index < merge.current.size() ? nestedKeyOf(merge.current[index]) : std::string();
}

void markSlot(const Update& update, UpdateFrame& frame, std::size_t index,
              const std::string& placeholder) {
    std::string orphan = currentNestedKey(frame.merge, index);
    if (!orphan.empty()) {
        frame.merge.orphans.push_back(std::move(orphan));
    }
    setEntry(update.context, frame.key, index, placeholder);
    frame.merge.needsCleanup = true;
}

// False when the list must stay as it is.
bool chooseMaximum(const Update& update, UpdateFrame& frame) {
    ListMerge& merge = frame.merge;
    const auto length = static_cast<double>(merge.current.size());
    const bool followsNewLength = update.configuration.style == STYLE_NEW_LENGTH;
    merge.maxSize = update.configuration.maxSize;
    merge.fillNull = update.configuration.fillNull;
    if (!(merge.maxSize > 0)) {
        merge.maxSize = followsNewLength ? static_cast<double>(frame.value->size()) : length;
        merge.fillNull = merge.fillNull && !followsNewLength;
        return true;
    }
    if (merge.maxSize < length && !followsNewLength) {
        logStoreError("Input Max array size is smaller than current size. Skips update action. "
                      "Resource=" +
                      frame.key);
        return false;
    }
    return true;
}

// Entries beyond the new array's end.
void shrinkList(const Update& update, UpdateFrame& frame) {
    const std::size_t length = frame.merge.current.size();
    if (frame.value->empty()) {
        return;
    }
    for (std::size_t i = frame.value->size(); i < length; ++i) {
        const bool withinMaximum = static_cast<double>(i) < frame.merge.maxSize ||
                                   static_cast<double>(length) <= frame.merge.maxSize;
        const bool keepsSlot = update.configuration.style == STYLE_KEEP_SLOTS && withinMaximum;
        markSlot(update, frame, i, keepsSlot ? NULL_ENTRY : TO_DELETE);
    }
}

// Puts the object or array under the key on the stack; a list is read and shrunk first.
void enter(Update& update, std::string key, const nlohmann::json& value) {
    if (!value.is_structured()) {
        return;
    }
    UpdateFrame frame;
    frame.key = std::move(key);
    frame.value = &value;
    frame.next = value.begin();
    if (value.is_array()) {
        frame.merge.current = readEntries(update.context, frame.key);
        if (!chooseMaximum(update, frame)) {
            return;
        }
        shrinkList(update, frame);
    }
    update.stack.push_back(std::move(frame));
}

void updateMember(Update& update, const std::string& name, const nlohmann::json& value) {
    const std::string& key = update.stack.back().key;
    std::int64_t objectNaming = NO_SEQUENCE_ID;
    MemberEntry entry = makeMemberEntry(key, objectNaming, name, value);
    if (!entry.nestedKey.empty()) {
        const std::string marker =
            makeMarker(MarkerMode::OBJECT_MEMBER, value, entry.nestedKey, name);
        setField(update.context, key, marker, "");
        // A reference is entered as well: readers of a merged resource find its target both in the
        // marker and in a hash of its own.
        enter(update, std::move(entry.nestedKey), value);
        return;
    }
    if (entry.valueText.empty()) {
        return;
    }
    if (!hasMarkerPrefix(name)) {
        setField(update.context, key, name, entry.valueText);
    } else if (value.is_string()) {
        setField(update.context, key, name, value.get_ref<const std::string&>());
    }
}

void storeElement(const Update& update, const UpdateFrame& frame, std::size_t index,
                  const std::string& text) {
    if (index < frame.merge.current.size()) {
        setEntry(update.context, frame.key, index, text);
    } else {
        pushEntry(update.context, frame.key, text);
    }
}

void mergeStructured(Update& update, std::size_t index, const nlohmann::json& value) {
    const UpdateFrame& frame = update.stack.back();
    std::string existing = currentNestedKey(frame.merge, index);
    if (!existing.empty()) {
        enter(update, std::move(existing), value);
        return;
    }
    // A free slot, the end of the list, or an entry that holds no nested key to merge into: a
    // reference is replaced by the new element, its target is left alone.
    MemberEntry entry = makeMemberEntry(frame.key, update.sequenceId, std::to_string(index), value);
    const std::string marker =
        makeMarker(MarkerMode::ARRAY_ELEMENT, value, entry.nestedKey, entry.memberName);
    storeElement(update, frame, index, marker);
    enter(update, std::move(entry.nestedKey), value);
}

void mergeScalar(const Update& update, std::size_t index, const nlohmann::json& value) {
    const UpdateFrame& frame = update.stack.back();
    std::int64_t objectNaming = NO_SEQUENCE_ID;
    MemberEntry entry = makeMemberEntry(frame.key, objectNaming, std::to_string(index), value);
    if (!entry.valueText.empty()) {
        storeElement(update, frame, index, elementText(value, std::move(entry.valueText)));
    }
}

// An object without members leaves its slot alone; with null filling the list below is filled.
void fillBelow(Update& update, std::size_t index) {
    static const nlohmann::json emptyArray = nlohmann::json::array();
    const ListMerge& merge = update.stack.back().merge;
    std::string nestedKey = currentNestedKey(merge, index);
    if (merge.fillNull && !nestedKey.empty()) {
        enter(update, std::move(nestedKey), emptyArray);
    }
}

void mergeOverflow(const Update& update, UpdateFrame& frame, std::size_t index) {
    if (index <= frame.merge.current.size()) {
        markSlot(update, frame, index, TO_DELETE);
    }
    frame.merge.overflowed = true;
}

void mergeNull(const Update& update, UpdateFrame& frame, std::size_t index) {
    if (update.configuration.style == STYLE_KEEP_SLOTS) {
        markSlot(update, frame, index, NULL_ENTRY);
        return;
    }
    markSlot(update, frame, index, TO_DELETE);
    ++frame.merge.deleted;
}

void mergeElement(Update& update, std::size_t index, const nlohmann::json& value) {
    UpdateFrame& frame = update.stack.back();
    const double allowed = static_cast<double>(frame.merge.deleted) + frame.merge.maxSize;
    const bool hasEntry = index < frame.merge.current.size();
    if (allowed <= static_cast<double>(index)) {
        mergeOverflow(update, frame, index);
    } else if (hasEntry && value.is_object() && value.empty()) {
        fillBelow(update, index);
    } else if (hasEntry && value.is_null()) {
        mergeNull(update, frame, index);
    } else if (value.is_structured()) {
        mergeStructured(update, index, value);
    } else {
        mergeScalar(update, index, value);
    }
}

void finishList(const Update& update, const UpdateFrame& frame) {
    const ListMerge& merge = frame.merge;
    if (merge.needsCleanup) {
        (void)removeArrayElement(update.context, frame.key, 0, TO_DELETE);
        for (const std::string& orphan : merge.orphans) {
            (void)removeResource(update.context, orphan, true, true);
        }
    }
    long long length = 0;
    if (!merge.fillNull || merge.overflowed || !getArrayLength(update.context, frame.key, length)) {
        return;
    }
    for (; static_cast<double>(length) < merge.maxSize; ++length) {
        pushEntry(update.context, frame.key, NULL_ENTRY);
    }
}

// Deals with the next member or element of the innermost object or array, or leaves it.
void advance(Update& update) {
    UpdateFrame& frame = update.stack.back();
    if (frame.next == frame.value->end()) {
        if (frame.value->is_array()) {
            finishList(update, frame);
        }
        update.stack.pop_back();
        return;
    }
    const auto item = frame.next++;
    if (frame.value->is_object()) {
        updateMember(update, item.key(), *item);
    } else {
        mergeElement(update, frame.index++, *item);
    }
}

} // namespace

std::optional<ArrayConfiguration> parseArrayConfiguration(const nlohmann::json& configuration) {
    ArrayConfiguration parsed;
    try {
        parsed.style = configuration.at("ArrayStyle").get<std::int64_t>();
        parsed.maxSize = configuration.at("ArrayMaxSize").get<double>();
        parsed.fillNull = configuration.at("ArrayNullElement").get<bool>();
    } catch (const nlohmann::json::exception&) {
        logStoreError("Reads array configuration failed!");
        return std::nullopt;
    }
    if (parsed.style < 0 || parsed.style > MAX_STYLE) {
        logStoreError("Array style is incorrect.");
        return std::nullopt;
    }
    return parsed;
}

int updateResourceTree(redisContext* context, const std::string& key, const nlohmann::json& value,
                       std::int64_t& sequenceId, const nlohmann::json& configuration) {
    const std::optional<ArrayConfiguration> parsed = parseArrayConfiguration(configuration);
    if (!parsed) {
        return STORE_BAD_CONFIGURATION;
    }
    Update update = {context, sequenceId, *parsed, {}};
    enter(update, key, value);
    while (!update.stack.empty()) {
        advance(update);
    }
    return STORE_OK;
}
