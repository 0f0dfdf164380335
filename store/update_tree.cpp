// The document is walked with a stack of frames, one for each object or array on the way down, so
// that its depth costs heap and not thread stack. A frame is done when its last member or element
// has been dealt with and everything below that is done too; a list is cleaned up and filled then.

#include "store/update_tree.h"

#include "core/redis_reply.h"
#include "store/resource_encoding.h"
#include "store/store_result.h"

#include <nlohmann/json.hpp>

#include <utility>
#include <vector>

namespace {

using nlohmann::json;

struct Frame {
    std::string key;
    const json* value;
    json::const_iterator next;
    std::size_t index = 0;                          // of next, in an array
    std::optional<ArrayMerge> merge = std::nullopt; // arrays only
};

using Stack = std::vector<Frame>;

void setField(const Update& update, const std::string& key, const std::string& field,
              std::string_view text) {
    (void)sendRedisCommand(update.context, {"HSET", key, field, text});
}

std::optional<NestedUpdate> updateMember(const Update& update, const std::string& key,
                                         const std::string& name, const json& value) {
    MemberEntry entry = makeObjectMember(key, name, value);
    if (!entry.nestedKey.empty()) {
        const std::string marker =
            makeMarker(MarkerMode::OBJECT_MEMBER, value, entry.nestedKey, name);
        setField(update, key, marker, "");
        // A reference is entered as well: readers of a merged resource find its target both in the
        // marker and in a hash of its own, which outlives the resource.
        return NestedUpdate{std::move(entry.nestedKey), &value};
    }
    if (const auto text = fieldText(name, value, entry.valueText)) {
        setField(update, key, name, *text);
    }
    return std::nullopt;
}

// Puts the object or array on the stack, which moves the frames: no reference to one stays valid.
void enter(const Update& update, Stack& stack, NestedUpdate nested) {
    Frame frame = {std::move(nested.key), nested.value, nested.value->begin()};
    if (frame.value->is_array()) {
        frame.merge = beginArrayMerge(update, frame.key, *frame.value);
        if (!frame.merge) {
            return;
        }
    }
    stack.push_back(std::move(frame));
}

// Deals with the next member or element of the innermost object or array, or leaves it.
void advance(const Update& update, Stack& stack) {
    Frame& frame = stack.back();
    if (frame.next == frame.value->end()) {
        if (frame.merge) {
            finishArrayMerge(update, *frame.merge);
        }
        stack.pop_back();
        return;
    }
    const auto item = frame.next++;
    std::optional<NestedUpdate> nested =
        frame.merge ? mergeElement(update, *frame.merge, frame.index++, *item)
                    : updateMember(update, frame.key, item.key(), *item);
    if (nested) {
        enter(update, stack, *std::move(nested));
    }
}

} // namespace

void updateTree(const Update& update, const std::string& key, const json& value) {
    Stack stack;
    if (value.is_structured()) {
        enter(update, stack, {key, &value});
    }
    while (!stack.empty()) {
        advance(update, stack);
    }
}

int updateResourceTree(redisContext* context, const std::string& key, const json& value,
                       std::int64_t& sequenceId, const json& configuration) {
    const std::optional<ArrayConfiguration> parsed = parseArrayConfiguration(configuration);
    if (!parsed) {
        return STORE_BAD_CONFIGURATION;
    }
    updateTree({context, sequenceId, *parsed}, key, value);
    return STORE_OK;
}
