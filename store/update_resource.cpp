#include "store/update_resource.h"

#include "core/protocol/keys.h"
#include "store/resource_encoding.h"
#include "store/resource_store.h"
#include "store/sequence_id.h"
#include "store/store_log.h"
#include "store/update_tree.h"
#include "store/write_resource.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <sstream>
#include <vector>

namespace {

// An object on the way to the arrays below it; the stack of them costs heap and not thread stack.
struct ObjectFrame {
    std::string key;
    nlohmann::json::const_iterator next;
    nlohmann::json::const_iterator end;
};

std::string unprefixedMemberKey(const std::string& parentKey, const std::string& name,
                                const nlohmann::json& value) {
    std::int64_t objectNaming = NO_SEQUENCE_ID;
    return makeMemberEntry(parentKey, objectNaming, name, value).nestedKey;
}

void removeReplacedArray(redisContext* context, std::string key) {
    // The key without "&&" goes first, as for an array at the top of an update. Nothing of this
    // store stands there and the miss is harmless; arrays of writers that left out the "&&" go this
    // way.
    (void)removeResource(context, key, true, true);
    addMarkerPrefix(key);
    (void)removeResource(context, key, true, true);
}

void logConfiguration(const ArrayConfiguration& configuration) {
    std::ostringstream line;
    line << "Input Array style =" << configuration.style << ", maxSize=" << configuration.maxSize
         << ", fill null element=" << configuration.fillNull;
    logStoreInfo(line.str());
}

} // namespace

int removeReplacedMembers(redisContext* context, const std::string& key,
                          const nlohmann::json& value) {
    if (value.is_array()) {
        const bool removed = removeResource(context, key, true, true) == STORE_OK;
        return removed ? STORE_OK : STORE_ARRAY_NOT_REMOVED;
    }
    std::vector<ObjectFrame> stack;
    if (value.is_object()) {
        stack.push_back({key, value.begin(), value.end()});
    }
    while (!stack.empty()) {
        ObjectFrame& frame = stack.back();
        if (frame.next == frame.end) {
            stack.pop_back();
            continue;
        }
        const auto member = frame.next++;
        if (!member->is_structured()) {
            continue;
        }
        std::string nestedKey = unprefixedMemberKey(frame.key, member.key(), *member);
        if (member->is_array()) {
            removeReplacedArray(context, std::move(nestedKey));
        } else {
            stack.push_back({std::move(nestedKey), member->begin(), member->end()});
        }
    }
    return STORE_OK;
}

int updateResource(redisContext* context, const std::string& uri, const nlohmann::json& value,
                   const nlohmann::json& arrayConfiguration) {
    bool mergesArrays = false;
    if (!arrayConfiguration.is_null()) {
        const std::optional<ArrayConfiguration> parsed =
            parseArrayConfiguration(arrayConfiguration);
        if (!parsed) {
            return STORE_BAD_CONFIGURATION;
        }
        logConfiguration(*parsed);
        mergesArrays = parsed->style != 0;
    }
    if (mergesArrays) {
        return storeResource(context, uri, value, arrayConfiguration);
    }
    (void)removeReplacedMembers(context, uri, value);
    return storeResource(context, uri, value, nullptr);
}
