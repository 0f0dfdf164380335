#pragma once

// Which key named which: tells keys that would be read without end.

#include "store/key_list.h"

#include <cstddef>
#include <memory_resource>
#include <string_view>
#include <unordered_set>

enum class Descent { ALLOWED, OWN_ANCESTOR, TOO_MANY_REPEATS };

// The keys of a list that have been met so far.
class KeyAncestry {
public:
    // The list outlives the ancestry.
    explicit KeyAncestry(KeyList& keys);

    // So many more keys may come.
    void expect(std::size_t count);

    // Meets the key of this number, after every key before it. A key may be met again, but not
    // below itself.
    [[nodiscard]] Descent meet(KeyNumber number);

private:
    [[nodiscard]] bool isBelowItself(KeyNumber number) const;

    const KeyList& mKeys;
    std::pmr::unordered_set<std::string_view>& mMet;
    std::size_t mRepeats = 0;
};
