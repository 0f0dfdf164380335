// Reading a resource into one JSON document.
//
// Values are set where their key's path leads. The path of a key is kept as the place of its value
// in the document, so that the cost of reading grows with the size of a resource and not with its
// depth. A place stays valid until its key is read: containers of one level only grow while the
// level above is being read.

#include "core/protocol/redfish_names.h"
#include "store/key_ancestry.h"
#include "store/key_walk.h"
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

json markedValue(const Marker& marker) {
    if (marker.kind == MarkerKind::REFERENCE) {
        return {{ODATA_ID, std::string(marker.target)}};
    }
    return marker.kind == MarkerKind::OBJECT ? json::object() : json::array();
}

// The member of this name. Fields mostly come in their order, so the end is tried first.
json& memberOf(json::object_t& object, std::string_view name) {
    return object.try_emplace(object.end(), std::string(name))->second;
}

class Reader : public KeyContents {
public:
    // The queue holds the top key, whose content goes into value.
    Reader(KeyList& queue, json& value) : mQueue(queue), mAncestry(queue), mPlaces({{&value}}) {
        (void)mAncestry.meet(0);
    }

    void enter(KeyNumber number) override;
    void begin(std::size_t count) override;
    void add(std::string_view text) override;

    [[nodiscard]] int result() const override {
        return mResult;
    }

private:
    [[nodiscard]] json* findPlace(KeyNumber number) const;
    void addField(std::string_view name, std::string_view text);
    void addEntry(std::string_view text);
    void expectKeys();
    void queueNestedKey(const Marker& marker, const DocumentPlace& place);
    void refuse(const char* reason, std::string_view key);

    KeyList& mQueue;
    KeyAncestry mAncestry;
    std::vector<DocumentPlace> mPlaces; // by the number of the key
    int mResult = STORE_OK;

    KeyNumber mNumber = 0;      // of the key whose content comes
    json* mValue = nullptr;     // where it goes; null when it goes nowhere
    std::size_t mAnnounced = 0; // elements of it for which no room was made
    bool mNamed = false;        // the field is there and waits for its value
    std::string mField;
};

// The value that the key's content belongs in; null when another field or entry of the same name
// has taken its place meanwhile.
json* Reader::findPlace(KeyNumber number) const {
    const DocumentPlace& place = mPlaces[number];
    json* value = place.value;
    if (place.isElement) {
        const bool isThere = value->is_array() && place.index < value->size();
        value = isThere ? &(*value)[place.index] : nullptr;
    }
    const bool isHash = mQueue[number].kind == KeyKind::HASH;
    const bool fits = value != nullptr && (isHash ? value->is_object() : value->is_array());
    return fits ? value : nullptr;
}

void Reader::enter(KeyNumber number) {
    mNumber = number;
    mValue = findPlace(number);
    mNamed = false;
}

void Reader::begin(std::size_t count) {
    mAnnounced = count;
    if (mValue != nullptr && mValue->is_array()) {
        auto& array = mValue->get_ref<json::array_t&>();
        array.reserve(array.size() + count);
    }
}

void Reader::add(std::string_view text) {
    if (mValue == nullptr || mResult != STORE_OK) {
        return;
    }
    if (mValue->is_array()) {
        addEntry(text);
    } else if (mNamed) {
        addField(mField, text);
        mNamed = false;
    } else {
        mField = text;
        mNamed = true;
    }
}

void Reader::addField(std::string_view name, std::string_view text) {
    auto& object = mValue->get_ref<json::object_t&>();
    if (!hasMarkerPrefix(name)) {
        memberOf(object, name) = decodeValueText(text);
        return;
    }
    const Marker marker = parseHashMarker(name);
    if (marker.kind == MarkerKind::NONE) {
        memberOf(object, name) = std::string(text);
        return;
    }
    json& member = memberOf(object, marker.member);
    member = markedValue(marker);
    if (isStructured(marker)) {
        queueNestedKey(marker, {&member});
    }
}

void Reader::addEntry(std::string_view text) {
    auto& array = mValue->get_ref<json::array_t&>();
    const Marker marker = hasMarkerPrefix(text) ? parseListMarker(text) : Marker();
    if (marker.kind != MarkerKind::NONE) {
        array.push_back(markedValue(marker));
    } else if (hasMarkerPrefix(text)) {
        array.emplace_back(std::string(text));
    } else {
        array.push_back(decodeValueText(text));
    }
    if (isStructured(marker)) {
        queueNestedKey(marker, {mValue, true, array.size() - 1});
    }
}

// Where one element names a key, the others mostly do too. Room is only made where it at least
// doubles what there is: else it would be made again and again.
void Reader::expectKeys() {
    if (mAnnounced > mPlaces.size()) {
        mQueue.expect(mAnnounced);
        mAncestry.expect(mAnnounced);
        mPlaces.reserve(mPlaces.size() + mAnnounced);
    }
    mAnnounced = 0;
}

void Reader::queueNestedKey(const Marker& marker, const DocumentPlace& place) {
    expectKeys();
    const std::string_view key = mQueue.add(nestedKind(marker), marker.target, mNumber).key;
    mPlaces.push_back(place);
    switch (mAncestry.meet(mQueue.size() - 1)) {
    case Descent::OWN_ANCESTOR:
        return refuse("The resource holds itself.", key);
    case Descent::TOO_MANY_REPEATS:
        return refuse("The resource repeats too many of its keys.", key);
    case Descent::ALLOWED:
        break;
    }
}

void Reader::refuse(const char* reason, std::string_view key) {
    logStoreError(std::string(reason) + " RESOURCE=" + std::string(key));
    mResult = STORE_MISSING;
}

} // namespace

int getResource(redisContext* context, const std::string& uri, json& value) {
    KeyList queue;
    const int result = getResourceType(context, uri, queue);
    if (result != STORE_OK) {
        return result;
    }
    value = queue[0].kind == KeyKind::HASH ? json::object() : json::array();
    Reader reader(queue, value);
    return walkKeys(context, queue, reader);
}
