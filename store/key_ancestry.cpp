#include "store/key_ancestry.h"

namespace {

// A resource written by this store names each nested key once. Repeats are read like any other key,
// but no further than this: a few keys that name each other twice would otherwise unfold without
// end.
constexpr std::size_t MAX_REPEATED_KEYS = 10000;

} // namespace

KeyAncestry::KeyAncestry(KeyList& keys)
    : mKeys(keys), mMet(keys.make<std::pmr::unordered_set<std::string_view>>()) {}

void KeyAncestry::expect(std::size_t count) {
    mMet.reserve(mMet.size() + count);
}

Descent KeyAncestry::meet(KeyNumber number) {
    if (mMet.insert(mKeys[number].key).second) {
        return Descent::ALLOWED;
    }
    if (isBelowItself(number)) {
        return Descent::OWN_ANCESTOR;
    }
    return ++mRepeats > MAX_REPEATED_KEYS ? Descent::TOO_MANY_REPEATS : Descent::ALLOWED;
}

bool KeyAncestry::isBelowItself(KeyNumber number) const {
    KeyNumber above = number;
    while (above != mKeys[above].parent) {
        above = mKeys[above].parent;
        if (mKeys[above].key == mKeys[number].key) {
            return true;
        }
    }
    return false;
}
