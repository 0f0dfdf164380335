// Markers. Property: for texts short enough for std::regex, every function says what the regular
// expression or the rule beside its declaration says, and the views it returns lie in the text.

#include "fuzz/input.h"
#include "fuzz/property.h"
#include "tests/models/marker_rules.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t LONGEST_TEXT = 200;
    if (size > LONGEST_TEXT) {
        return -1;
    }
    requireSame(brokenMarkerRule(Input(data, size).rest()), "", "a text is told by its pattern");
    return 0;
}
