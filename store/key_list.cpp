#include "store/key_list.h"

#include <cstring>

KeyKind nestedKind(const Marker& marker) {
    return marker.kind == MarkerKind::OBJECT ? KeyKind::HASH : KeyKind::LIST;
}

void KeyList::expect(std::size_t count) {
    mKeys.reserve(mKeys.size() + count);
}

const QueuedKey& KeyList::add(KeyKind kind, std::string_view key, KeyNumber parent) {
    auto* text = static_cast<char*>(mArena.allocate(key.size(), 1));
    if (!key.empty()) {
        std::memcpy(text, key.data(), key.size());
    }
    return mKeys.emplace_back(QueuedKey{{text, key.size()}, parent, kind});
}

void KeyList::repeat(KeyKind kind, std::string_view kept) {
    mKeys.emplace_back(QueuedKey{kept, 0, kind, true});
}
