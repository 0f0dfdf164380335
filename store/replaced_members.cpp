#include "store/replaced_members.h"

#include "core/protocol/keys.h"
#include "store/resource_encoding.h"
#include "store/resource_store.h"

#include <nlohmann/json.hpp>

#include <utility>
#include <vector>

namespace {

// An object on the way to the arrays below it; the stack of them costs heap and not thread stack.
struct Frame {
    std::string key;
    nlohmann::json::const_iterator next;
    nlohmann::json::const_iterator end;
};

void removeReplacedArray(redisContext* context, std::string key) {
    // The key without "&&" goes first, as for an array at the top of an update. Nothing of this
    // store stands there and the miss is harmless; arrays of writers that left out the "&&" go this
    // way.
    (void)removeResource(context, key, true, true);
    addMarkerPrefix(key);
    (void)removeResource(context, key, true, true);
}

void removeReplacedArrays(redisContext* context, const std::string& key,
                          const nlohmann::json& object) {
    std::vector<Frame> stack = {{key, object.begin(), object.end()}};
    while (!stack.empty()) {
        Frame& frame = stack.back();
        if (frame.next == frame.end) {
            stack.pop_back();
            continue;
        }
        const auto member = frame.next++;
        if (!member->is_structured()) {
            continue;
        }
        std::string nestedKey = makeObjectMember(frame.key, member.key(), *member).nestedKey;
        if (member->is_array()) {
            removeReplacedArray(context, std::move(nestedKey));
        } else {
            // Moves the frames: `frame` ends here.
            stack.push_back({std::move(nestedKey), member->begin(), member->end()});
        }
    }
}

} // namespace

int removeReplacedMembers(redisContext* context, const std::string& key,
                          const nlohmann::json& value) {
    if (value.is_array()) {
        const bool removed = removeResource(context, key, true, true) == STORE_OK;
        return removed ? STORE_OK : STORE_ARRAY_NOT_REMOVED;
    }
    if (value.is_object()) {
        removeReplacedArrays(context, key, value);
    }
    return STORE_OK;
}
