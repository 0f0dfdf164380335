#include "store/key_ancestry.h"

namespace {

// A resource written by this store names each nested key once. Repeats are read like any other key,
// but no further than this: a few keys that name each other twice would otherwise unfold without
// end.
constexpr std::size_t MAX_REPEATED_KEYS = 10000;

} // namespace

KeyAncestry::KeyAncestry(const std::string& top) {
    nodes.push_back({&*known.insert(top).first, 0});
}

Descent KeyAncestry::add(const std::string& key, std::size_t parent) {
    const auto [position, isNew] = known.insert(key);
    if (!isNew && isAncestor(key, parent)) {
        return Descent::OWN_ANCESTOR;
    }
    if (!isNew && ++repeats > MAX_REPEATED_KEYS) {
        return Descent::TOO_MANY_REPEATS;
    }
    nodes.push_back({&*position, parent}); // elements of an unordered_set keep their address
    return Descent::ALLOWED;
}

bool KeyAncestry::isAncestor(const std::string& key, std::size_t node) const {
    while (*nodes[node].key != key) {
        if (node == nodes[node].parent) {
            return false;
        }
        node = nodes[node].parent;
    }
    return true;
}
