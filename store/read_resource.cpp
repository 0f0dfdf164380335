// Reading a resource into one JSON document.
//
// Values are set where their key's path leads. The path of a key is kept as the place of its value
// in the document, so that the cost of reading grows with the size of a resource and not with its
// depth. A place stays valid until its key is read: containers of one level only grow while the
// level above is being read.

#include "core/protocol/redfish_names.h"
#include "store/markers.h"
#include "store/read_passes.h"
#include "store/resource_store.h"
#include "store/store_log.h"
#include "store/value_text.h"

#include <nlohmann/json.hpp>

#include <string_view>
#include <unordered_set>
#include <vector>

namespace {

// A resource written by this store names each nested key once. Repeats are read like any other key,
// but no further than this: a few keys that name each other twice would otherwise unfold without
// end.
constexpr std::size_t MAX_REPEATED_KEYS = 10000;

// The keys met so far, each with the one that named it.
class Ancestry {
public:
    // Records the key below its parent. False when the key is its own ancestor, or when too many
    // keys have been named more than once.
    bool add(const std::string& key, std::size_t parent) {
        const auto [position, isNew] = known.insert(key);
        if (!isNew && (++repeats > MAX_REPEATED_KEYS || isAncestor(key, parent))) {
            return false;
        }
        nodes.push_back({&*position, parent}); // elements of an unordered_set keep their address
        return true;
    }

    [[nodiscard]] std::size_t newest() const {
        return nodes.size() - 1;
    }

private:
    struct Node {
        const std::string* key;
        std::size_t parent; // the top key is its own parent
    };

    [[nodiscard]] bool isAncestor(const std::string& key, std::size_t node) const {
        while (*nodes[node].key != key) {
            if (node == nodes[node].parent) {
                return false;
            }
            node = nodes[node].parent;
        }
        return true;
    }

    std::unordered_set<std::string> known;
    std::vector<Node> nodes;
    std::size_t repeats = 0;
};

struct Reader {
    ReadQueue queue;
    Ancestry ancestry;
};

// The value that the key's content belongs in; null when another field or entry of the same name
// has taken its place meanwhile.
nlohmann::json* findPlace(const ReadEntry& entry) {
    nlohmann::json* value = entry.place.value;
    if (entry.place.isElement) {
        const bool isThere = value->is_array() && entry.place.index < value->size();
        value = isThere ? &(*value)[entry.place.index] : nullptr;
    }
    const bool fits =
        value != nullptr && (entry.kind == KeyKind::HASH ? value->is_object() : value->is_array());
    return fits ? value : nullptr;
}

int queueNestedKey(Reader& reader, const ReadEntry& parent, const Marker& marker,
                   const DocumentPlace& place) {
    ReadEntry entry;
    entry.place = place;
    entry.kind = marker.kind == MarkerKind::OBJECT ? KeyKind::HASH : KeyKind::LIST;
    entry.key = marker.target;
    if (!reader.ancestry.add(entry.key, parent.ancestry)) {
        logStoreError("The resource holds itself. RESOURCE=" + entry.key);
        return STORE_MISSING;
    }
    entry.ancestry = reader.ancestry.newest();
    reader.queue.push_back(std::move(entry));
    return STORE_OK;
}

nlohmann::json markedValue(const Marker& marker) {
    if (marker.kind == MarkerKind::REFERENCE) {
        return {{ODATA_ID, std::string(marker.target)}};
    }
    return marker.kind == MarkerKind::OBJECT ? nlohmann::json::object() : nlohmann::json::array();
}

bool isStructured(const Marker& marker) {
    return marker.kind == MarkerKind::OBJECT || marker.kind == MarkerKind::ARRAY;
}

int readField(Reader& reader, const ReadEntry& entry, nlohmann::json& object,
              std::string_view field, std::string_view text) {
    if (!hasMarkerPrefix(field)) {
        object[std::string(field)] = decodeValueText(text);
        return STORE_OK;
    }
    const Marker marker = parseHashMarker(field);
    if (marker.kind == MarkerKind::NONE) {
        object[std::string(field)] = std::string(text);
        return STORE_OK;
    }
    nlohmann::json& member = object[std::string(marker.member)];
    member = markedValue(marker);
    return isStructured(marker) ? queueNestedKey(reader, entry, marker, {&member, false, 0})
                                : STORE_OK;
}

int readElement(Reader& reader, const ReadEntry& entry, nlohmann::json& array,
                std::string_view text) {
    if (!hasMarkerPrefix(text)) {
        array.push_back(decodeValueText(text));
        return STORE_OK;
    }
    const Marker marker = parseListMarker(text);
    if (marker.kind == MarkerKind::NONE) {
        array.push_back(std::string(text));
        return STORE_OK;
    }
    array.push_back(markedValue(marker));
    const DocumentPlace place = {&array, true, array.size() - 1};
    return isStructured(marker) ? queueNestedKey(reader, entry, marker, place) : STORE_OK;
}

int readContent(Reader& reader, const ReadEntry& entry, const redisReply& content) {
    if (content.type != REDIS_REPLY_ARRAY) {
        logStoreError("Gets redis resource failed. RESOURCE=" + entry.key);
        return STORE_MISSING;
    }
    nlohmann::json* place = findPlace(entry);
    if (place == nullptr) {
        return STORE_OK;
    }
    const std::size_t step = entry.kind == KeyKind::HASH ? 2 : 1;
    int result = STORE_OK;
    for (std::size_t i = 0; result == STORE_OK && i + step <= content.elements; i += step) {
        const std::string_view text = replyText(*content.element[i]);
        result = entry.kind == KeyKind::HASH
                     ? readField(reader, entry, *place, text, replyText(*content.element[i + 1]))
                     : readElement(reader, entry, *place, text);
    }
    return result;
}

} // namespace

int getResource(redisContext* context, const std::string& uri, nlohmann::json& value) {
    Reader reader;
    const int result = getResourceType(context, uri, reader.queue);
    if (result != STORE_OK) {
        return result;
    }
    ReadEntry& top = reader.queue.front();
    value = top.kind == KeyKind::HASH ? nlohmann::json::object() : nlohmann::json::array();
    top.place = {&value, false, 0};
    (void)reader.ancestry.add(uri, 0);
    return readQueued(context, reader.queue,
                      [&reader](const ReadEntry& entry, const redisReply& content) {
                          return readContent(reader, entry, content);
                      });
}
