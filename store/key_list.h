#pragma once

// The keys of one operation, in the order in which they were met.

#include "store/markers.h"

#include <cstddef>
#include <cstdint>
#include <memory_resource>
#include <string_view>
#include <vector>

enum class KeyKind : std::uint8_t { HASH = 0, LIST = 1 };

// Keys of one operation are numbered as they are met, from the top key's 0. There may be many of
// them: a number takes no more room than it must.
using KeyNumber = std::uint32_t;

// One key to read, as the kind that its marker names.
struct QueuedKey {
    std::string_view key;
    KeyNumber parent = 0; // the key that named it; the top key is its own
    KeyKind kind = KeyKind::HASH;
    bool isRepeated = false; // stands in the list already, as the other kind
};

// The kind of key that a structured marker names.
[[nodiscard]] KeyKind nestedKind(const Marker& marker);

// The list keeps the texts; they stay where they are.
class KeyList {
public:
    // Gives back the key as it is kept.
    const QueuedKey& add(KeyKind kind, std::string_view key, KeyNumber parent = 0);

    // So many more keys may come.
    void expect(std::size_t count);

    // Makes a container that lasts as long as the list and takes its memory from the same place.
    // That is given back as a whole: the container is never destroyed, nor is what it holds.
    template <typename Container>
    [[nodiscard]] Container& make() {
        return *std::pmr::polymorphic_allocator<>(&mArena).new_object<Container>();
    }

    // Adds a key of the list once more, as this kind. The text is the list's own.
    void repeat(KeyKind kind, std::string_view kept);

    // References end with the next key that is added, texts with the list.
    [[nodiscard]] const QueuedKey& operator[](KeyNumber number) const {
        return mKeys[number];
    }
    [[nodiscard]] KeyNumber size() const {
        return static_cast<KeyNumber>(mKeys.size());
    }

private:
    char mFirst[1024]; // of the arena: a small resource needs no more
    std::pmr::monotonic_buffer_resource mArena{mFirst, sizeof mFirst};
    std::vector<QueuedKey> mKeys;
};
