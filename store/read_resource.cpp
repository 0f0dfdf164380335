// Reading a resource into one JSON document.
//
// Values are set where their key's path leads. The path of a key is kept as the place of its value
// in the document, so that the cost of reading grows with the size of a resource and not with its
// depth. A place stays valid until its key is read: containers of one level only grow while the
// level above is being read.

#include "core/protocol/redfish_names.h"
#include "store/key_ancestry.h"
#include "store/key_walk.h"
#include "store/markers.h"
#include "store/resource_store.h"
#include "store/store_log.h"
#include "store/value_text.h"

#include <nlohmann/json.hpp>

#include <string_view>
#include <vector>

namespace {

using nlohmann::json;

// Where in the document the content of a key belongs: a value, or an element of an array. An
// element is found again by its index, since arrays move their elements while they grow.
struct DocumentPlace {
    json* value;
    bool isElement = false;
    std::size_t index = 0;
};

// Keys are numbered as the ancestry numbers them.
struct Reader {
    KeyQueue queue;
    KeyAncestry ancestry;
    std::vector<DocumentPlace> places; // by the number of the key
};

// The value that the key's content belongs in; null when another field or entry of the same name
// has taken its place meanwhile.
json* findPlace(const Reader& reader, const QueuedKey& key) {
    const DocumentPlace& place = reader.places[key.origin];
    json* value = place.value;
    if (place.isElement) {
        const bool isThere = value->is_array() && place.index < value->size();
        value = isThere ? &(*value)[place.index] : nullptr;
    }
    const bool fits =
        value != nullptr && (key.kind == KeyKind::HASH ? value->is_object() : value->is_array());
    return fits ? value : nullptr;
}

int refuse(const char* reason, const std::string& key) {
    logStoreError(std::string(reason) + " RESOURCE=" + key);
    return STORE_MISSING;
}

int queueNestedKey(Reader& reader, const QueuedKey& parent, const Marker& marker,
                   const DocumentPlace& place) {
    const std::string key(marker.target);
    switch (reader.ancestry.add(key, parent.origin)) {
    case Descent::OWN_ANCESTOR:
        return refuse("The resource holds itself.", key);
    case Descent::TOO_MANY_REPEATS:
        return refuse("The resource repeats too many of its keys.", key);
    case Descent::ALLOWED:
        break;
    }
    reader.queue.push_back({nestedKind(marker), key, reader.places.size()});
    reader.places.push_back(place);
    return STORE_OK;
}

json markedValue(const Marker& marker) {
    if (marker.kind == MarkerKind::REFERENCE) {
        return {{ODATA_ID, std::string(marker.target)}};
    }
    return marker.kind == MarkerKind::OBJECT ? json::object() : json::array();
}

int readField(Reader& reader, const QueuedKey& key, json& object, std::string_view field,
              std::string_view text) {
    if (!hasMarkerPrefix(field)) {
        object[std::string(field)] = decodeValueText(text);
        return STORE_OK;
    }
    const Marker marker = parseHashMarker(field);
    if (marker.kind == MarkerKind::NONE) {
        object[std::string(field)] = std::string(text);
        return STORE_OK;
    }
    json& member = object[std::string(marker.member)];
    member = markedValue(marker);
    return isStructured(marker) ? queueNestedKey(reader, key, marker, {&member}) : STORE_OK;
}

int readElement(Reader& reader, const QueuedKey& key, json& array, std::string_view text) {
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
    return isStructured(marker) ? queueNestedKey(reader, key, marker, place) : STORE_OK;
}

int readContent(Reader& reader, const QueuedKey& key, const redisReply& content) {
    json* place = findPlace(reader, key);
    if (place == nullptr) {
        return STORE_OK;
    }
    const bool isHash = key.kind == KeyKind::HASH;
    const std::size_t step = isHash ? 2 : 1;
    int result = STORE_OK;
    for (std::size_t i = 0; result == STORE_OK && i + step <= content.elements; i += step) {
        const std::string_view text = replyText(*content.element[i]);
        result = isHash ? readField(reader, key, *place, text, replyText(*content.element[i + 1]))
                        : readElement(reader, key, *place, text);
    }
    return result;
}

} // namespace

int getResource(redisContext* context, const std::string& uri, json& value) {
    Reader reader = {{}, KeyAncestry(uri), {{&value}}};
    const int result = getResourceType(context, uri, reader.queue);
    if (result != STORE_OK) {
        return result;
    }
    value = reader.queue.front().kind == KeyKind::HASH ? json::object() : json::array();
    return walkKeys(context, reader.queue,
                    [&reader](const QueuedKey& key, const redisReply& content) {
                        return readContent(reader, key, content);
                    });
}
