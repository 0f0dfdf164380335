#pragma once

// Which key named which: tells keys that would be read without end.

#include <cstddef>
#include <string>
#include <unordered_set>
#include <vector>

enum class Descent { ALLOWED, OWN_ANCESTOR, TOO_MANY_REPEATS };

// The keys met so far, each with the one that named it.
class KeyAncestry {
public:
    // Starts with the top key, which has the number 0.
    explicit KeyAncestry(const std::string& top);

    // Records the key below its parent; when ALLOWED it takes the next number. A key may be met
    // again, but not below itself.
    [[nodiscard]] Descent add(const std::string& key, std::size_t parent);

private:
    struct Node {
        const std::string* key;
        std::size_t parent; // the top key is its own
    };

    [[nodiscard]] bool isAncestor(const std::string& key, std::size_t node) const;

    std::unordered_set<std::string> known;
    std::vector<Node> nodes;
    std::size_t repeats = 0;
};
