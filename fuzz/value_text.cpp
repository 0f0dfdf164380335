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

struct Utf8Range {
    unsigned char first, last; // of the leading byte
    int following;
    unsigned char low, high; // of the second byte
};

// Table 3-7 of the Unicode standard: well-formed byte sequences.
constexpr std::array<Utf8Range, 9> WELL_FORMED = {{{0x00, 0x7f, 0, 0, 0},
                                                   {0xc2, 0xdf, 1, 0x80, 0xbf},
                                                   {0xe0, 0xe0, 2, 0xa0, 0xbf},
                                                   {0xe1, 0xec, 2, 0x80, 0xbf},
                                                   {0xed, 0xed, 2, 0x80, 0x9f},
                                                   {0xee, 0xef, 2, 0x80, 0xbf},
                                                   {0xf0, 0xf0, 3, 0x90, 0xbf},
                                                   {0xf1, 0xf3, 3, 0x80, 0xbf},
                                                   {0xf4, 0xf4, 3, 0x80, 0x8f}}};

std::size_t sequenceLength(const std::string& text, std::size_t start) {
    const auto at = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    for (const Utf8Range& range : WELL_FORMED) {
        const auto following = static_cast<std::size_t>(range.following);
        if (at(start) < range.first || at(start) > range.last || start + following >= text.size()) {
            continue;
        }
        bool good = following == 0 || (at(start + 1) >= range.low && at(start + 1) <= range.high);
        for (std::size_t i = 2; i <= following; ++i) {
            good = good && at(start + i) >= 0x80 && at(start + i) <= 0xbf;
        }
        return good ? following + 1 : 0;
    }
    return 0;
}

bool isUtf8(const std::string& text) {
    std::size_t position = 0;
    while (position < text.size()) {
        const std::size_t length = sequenceLength(text, position);
        if (length == 0) {
            return false;
        }
        position += length;
    }
    return true;
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
    if (!isUtf8(text)) {
        require(written.empty(), "a string that is no UTF-8 has no value text");
        return;
    }
    requireSame(written, nlohmann::json(text).dump(), "the JSON library's text of a string");
    requireSame(describeExactly(decodeValueText(written)), "string " + readBackText(text),
                "a string reads back");
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
