#include "store/resource_keys.h"

#include "store/key_walk.h"
#include "store/markers.h"
#include "store/store_result.h"

#include <memory_resource>
#include <string_view>
#include <unordered_map>

namespace {

struct NamedAs {
    bool hash = false;
    bool list = false;
};

using MetKeys = std::pmr::unordered_map<std::string_view, NamedAs>;

class Collector : public KeyContents {
public:
    // The server has said of which kind the top key is: it need not be tried as the other.
    explicit Collector(KeyList& keys) : mKeys(keys), mMet(keys.make<MetKeys>()) {
        mMet[keys[0].key] = {true, true};
    }

    void enter(KeyNumber number) override {
        mInHash = mKeys[number].kind == KeyKind::HASH;
        mIsValue = false;
    }

    void begin(std::size_t count) override {
        mAnnounced = count;
    }

    void add(std::string_view text) override {
        if (!mIsValue && hasMarkerPrefix(text)) {
            collect(mInHash ? parseHashMarker(text) : parseListMarker(text));
        }
        mIsValue = mInHash && !mIsValue;
    }

    [[nodiscard]] int result() const override {
        return STORE_OK;
    }

private:
    void collect(const Marker& marker);
    void expectKeys();

    KeyList& mKeys;
    MetKeys& mMet;
    std::size_t mAnnounced = 0; // elements for which no room was made
    bool mInHash = false;
    bool mIsValue = false; // the next text is the value of a field
};

// Where one element names a key, the others mostly do too. Room is only made where it at least
// doubles what there is: else it would be made again and again.
void Collector::expectKeys() {
    if (mAnnounced > mKeys.size()) {
        mKeys.expect(mAnnounced);
        mMet.reserve(mMet.size() + mAnnounced);
    }
    mAnnounced = 0;
}

// A key is queued once as each kind: as the kind that it is not, it counts as gone.
void Collector::collect(const Marker& marker) {
    if (!isStructured(marker)) {
        return;
    }
    expectKeys();
    const KeyKind kind = nestedKind(marker);
    auto met = mMet.find(marker.target);
    const bool isNew = met == mMet.end();
    if (isNew) {
        met = mMet.try_emplace(mKeys.add(kind, marker.target).key).first;
    }
    bool& asThisKind = kind == KeyKind::HASH ? met->second.hash : met->second.list;
    if (!isNew && !asThisKind) {
        mKeys.repeat(kind, met->first);
    }
    asThisKind = true;
}

} // namespace

int collectNestedKeys(redisContext* context, KeyList& keys) {
    Collector collector(keys);
    return walkKeys(context, keys, collector);
}

int collectResourceKeys(redisContext* context, const std::string& uri, bool recursive,
                        KeyList& keys) {
    const int result = getResourceType(context, uri, keys);
    return result == STORE_OK && recursive ? collectNestedKeys(context, keys) : result;
}
