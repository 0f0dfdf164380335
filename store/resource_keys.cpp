#include "store/resource_keys.h"

#include "store/markers.h"
#include "store/store_result.h"

#include <string_view>
#include <unordered_map>

namespace {

constexpr std::size_t BELOW_TOP = 1; // all that removal needs to know of where a key was named

struct NamedAs {
    bool hash = false;
    bool list = false;
};

struct Collector {
    KeyQueue queue;
    KeyQueue& keys;
    std::unordered_map<std::string, NamedAs> met;
};

// A key is collected once, and queued once as each kind: as the kind that it is not, it counts as
// gone.
void collectNestedKey(Collector& collector, const Marker& marker) {
    const QueuedKey nested = {nestedKind(marker), std::string(marker.target), BELOW_TOP};
    const auto [position, isNew] = collector.met.try_emplace(nested.key);
    if (isNew) {
        collector.keys.push_back(nested);
    }
    NamedAs& named = position->second;
    bool& asThisKind = nested.kind == KeyKind::HASH ? named.hash : named.list;
    if (!asThisKind) {
        asThisKind = true;
        collector.queue.push_back(nested);
    }
}

int collectNamedKeys(Collector& collector, const QueuedKey& key, const redisReply& content) {
    const bool isHash = key.kind == KeyKind::HASH;
    const std::size_t step = isHash ? 2 : 1;
    for (std::size_t i = 0; i < content.elements; i += step) {
        const std::string_view text = replyText(*content.element[i]);
        const Marker marker = isHash ? parseHashMarker(text) : parseListMarker(text);
        if (hasMarkerPrefix(text) && isStructured(marker)) {
            collectNestedKey(collector, marker);
        }
    }
    return STORE_OK;
}

} // namespace

int collectNestedKeys(redisContext* context, KeyQueue& keys) {
    // The server has said of which kind the top key is: it need not be tried as the other.
    Collector collector = {keys, keys, {{keys.front().key, {true, true}}}};
    return walkKeys(context, collector.queue,
                    [&collector](const QueuedKey& key, const redisReply& content) {
                        return collectNamedKeys(collector, key, content);
                    });
}

int collectResourceKeys(redisContext* context, const std::string& uri, bool recursive,
                        KeyQueue& keys) {
    const int result = getResourceType(context, uri, keys);
    return result == STORE_OK && recursive ? collectNestedKeys(context, keys) : result;
}
