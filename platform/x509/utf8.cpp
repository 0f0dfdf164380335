// Strict: no overlong forms, no surrogates, nothing above U+10FFFF, so that what is accepted can be
// written as JSON by any library.

#include "platform/x509/utf8.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace {

constexpr std::size_t SHOWN_CHARACTERS = 64;

struct CharacterRange {
    std::uint32_t first;
    std::uint32_t last;
};

// Bidi_Control, the two separators, and the noncharacters that do not end a plane.
constexpr std::array<CharacterRange, 5> MISLEADING = {
    {{0x061c, 0x061c}, {0x200e, 0x200f}, {0x2028, 0x202e}, {0x2066, 0x2069}, {0xfdd0, 0xfdef}}};

// The bytes of a sequence that begins with this byte; 0 when none begins so.
std::size_t sequenceLength(unsigned char first) {
    if (first < 0x80) {
        return 1;
    }
    if (first >= 0xc2 && first <= 0xdf) {
        return 2;
    }
    if (first >= 0xe0 && first <= 0xef) {
        return 3;
    }
    return first >= 0xf0 && first <= 0xf4 ? 4 : 0;
}

bool isControl(std::uint32_t character) {
    return character < 0x20 || (character >= 0x7f && character < 0xa0);
}

bool isScalar(std::uint32_t character, std::size_t length) {
    const bool surrogate = character >= 0xd800 && character <= 0xdfff;
    const bool overlong =
        (length == 3 && character < 0x800) || (length == 4 && character < 0x10000);
    return !surrogate && !overlong && character <= 0x10ffff;
}

bool isMisleading(std::uint32_t character) {
    const bool endsPlane = (character & 0xfffeU) == 0xfffeU;
    return endsPlane ||
           std::any_of(MISLEADING.begin(), MISLEADING.end(), [&](const CharacterRange& range) {
               return character >= range.first && character <= range.last;
           });
}

struct Character {
    std::size_t bytes = 0; // 0: no UTF-8
    std::uint32_t value = 0;
};

// The character at the beginning of a text that is not empty.
Character firstCharacter(std::string_view text) {
    const auto first = static_cast<unsigned char>(text.front());
    const std::size_t length = sequenceLength(first);
    if (length == 0 || length > text.size()) {
        return {};
    }
    std::uint32_t value = length == 1 ? first : first & (0x7fU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        const auto next = static_cast<unsigned char>(text[i]);
        if ((next & 0xc0U) != 0x80U) {
            return {};
        }
        value = (value << 6U) | (next & 0x3fU);
    }
    return isScalar(value, length) ? Character{length, value} : Character{};
}

// The bytes of the printable character at the beginning; 0 when there is none.
std::size_t printableBytes(std::string_view text) {
    const Character character = firstCharacter(text);
    return isControl(character.value) || isMisleading(character.value) ? 0 : character.bytes;
}

std::string escaped(std::string_view bytes) {
    constexpr std::string_view DIGITS = "0123456789ABCDEF";
    std::string text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        text += {'\\', DIGITS[byte >> 4U], DIGITS[byte & 0x0fU]};
    }
    return text;
}

} // namespace

std::optional<std::size_t> printableLength(std::string_view text) {
    std::size_t characters = 0;
    while (!text.empty()) {
        const std::size_t bytes = printableBytes(text);
        if (bytes == 0) {
            return std::nullopt;
        }
        text.remove_prefix(bytes);
        ++characters;
    }
    return characters;
}

std::string withMisleadingEscaped(std::string_view text) {
    std::string shown;
    while (!text.empty()) {
        const Character character = firstCharacter(text);
        const std::string_view bytes = text.substr(0, std::max<std::size_t>(character.bytes, 1));
        shown += isMisleading(character.value) ? escaped(bytes) : std::string(bytes);
        text.remove_prefix(bytes.size());
    }
    return shown;
}

std::string withUnprintableEscaped(std::string_view text) {
    std::string shown;
    while (!text.empty()) {
        const std::size_t printable = printableBytes(text);
        const std::string_view bytes = text.substr(0, std::max<std::size_t>(printable, 1));
        shown += printable == 0 ? escaped(bytes) : std::string(bytes);
        text.remove_prefix(bytes.size());
    }
    return shown;
}

std::string shownInMessage(std::string_view text) {
    if (!printableLength(text)) {
        return "(not a text)";
    }
    std::size_t bytes = 0;
    for (std::size_t characters = 0; bytes < text.size(); ++characters) {
        if (characters == SHOWN_CHARACTERS) {
            return std::string(text.substr(0, bytes)) + "...";
        }
        bytes += printableBytes(text.substr(bytes));
    }
    return std::string(text);
}
