#pragma once

// How an update merges arrays, as its caller says it.

#include <nlohmann/json_fwd.hpp>

#include <cstddef>
#include <cstdint>
#include <optional>

// A maximum in whole entries. The one that is given may be a fraction, infinite or larger than any
// list; the two numbers compare with lengths and positions as it does.
struct ArrayMaximum {
    std::size_t longest = 0; // length of the longest list that it allows: the whole part
    std::size_t slots = 0;   // positions below it: rounded up
};

struct ArrayConfiguration {
    std::int64_t style = 0;              // 0 to 3
    double maxSize = 0;                  // as given
    std::optional<ArrayMaximum> maximum; // of maxSize; nothing when none is given
    bool fillNull = false;
};

// Nothing for a size that is 0, less, or no number: none is given then.
[[nodiscard]] std::optional<ArrayMaximum> arrayMaximum(double maxSize);

// The configuration in the form that updateResource takes it. Nothing, and a line logged, when it
// is unusable.
[[nodiscard]] std::optional<ArrayConfiguration>
parseArrayConfiguration(const nlohmann::json& configuration);
