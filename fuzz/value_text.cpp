// Value texts. Properties:
// - Any text is decoded to the same value, of the same type and to the last bit, as by standard
//   streams.
// - The value text of a scalar is the JSON library's. A string that is no valid UTF-8 has none.
// - A string reads back as it is, but for control characters: their escapes lose the backslash.
// - 64-bit signed integers, and doubles whose text holds a point, read back as they are.

#include "store/value_text.h"

#include "fuzz/input.h"
#include "fuzz/property.h"
#include "tests/models/value_text_model.h"

#include <nlohmann/json.hpp>

#include <array>
#include <bit>
#include <cmath>
#include <cstdio>

namespace {

// The JSON library's text; empty when it has none, as for a string that is no valid UTF-8.
std::string libraryText(const nlohmann::json& value) {
    try {
        return value.dump();
    } catch (const std::exception&) {
        return {};
    }
}

// What is left of a string when the backslashes of its escapes are dropped.
std::string readBackText(const std::string& text) {
    const std::string named = "\b\t\n\f\r";
    std::string left;
    for (const char c : text) {
        const auto code = static_cast<unsigned char>(c);
        if (code >= 0x20) {
            left += c;
        } else if (const auto index = named.find(c); index != std::string::npos) {
            left += "btnfr"[index];
        } else {
            std::array<char, 8> digits{};
            (void)std::snprintf(digits.data(), digits.size(), "u%04x", code);
            left += digits.data();
        }
    }
    return left;
}

void checkString(const std::string& text) {
    const std::string written = compactJsonText(text);
    requireSame(written, libraryText(text), "the JSON library's text of a string");
    if (!written.empty()) {
        requireSame(describeExactly(decodeValueText(written)), "string " + readBackText(text),
                    "a string reads back");
    }
}

void checkNumbers(std::uint64_t bits) {
    requireSame(compactJsonText(bits), std::to_string(bits), "the text of an unsigned number");
    const auto integer = std::bit_cast<std::int64_t>(bits);
    requireSame(describeExactly(decodeValueText(compactJsonText(integer))),
                describeExactly(integer), "an integer reads back");
    const auto real = std::bit_cast<double>(bits);
    const std::string text = compactJsonText(real);
    requireSame(text, nlohmann::json(real).dump(), "the JSON library's text of a double");
    if (std::isfinite(real) && text.find('.') != std::string::npos) {
        requireSame(describeExactly(decodeValueText(text)), describeExactly(real),
                    "a double reads back");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input(data, size);
    checkNumbers(Input(data, size).number());
    const std::string text = input.rest();
    requireSame(describeExactly(decodeValueText(text)), describeExactly(decodeByStreams(text)),
                "a value text is decoded as by standard streams");
    checkString(text);
    return 0;
}
