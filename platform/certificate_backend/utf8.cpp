// Strict: no overlong forms, no surrogates, nothing above U+10FFFF, so that what is accepted can be
// written as JSON by any library.

#include "platform/certificate_backend/utf8.h"

#include <cstdint>

namespace {

constexpr std::size_t SHOWN_CHARACTERS = 64;

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

// The bytes of the printable character at the beginning; 0 when there is none.
std::size_t printableBytes(std::string_view text) {
    const auto first = static_cast<unsigned char>(text.front());
    const std::size_t length = sequenceLength(first);
    if (length == 0 || length > text.size()) {
        return 0;
    }
    std::uint32_t character = length == 1 ? first : first & (0x7fU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        const auto next = static_cast<unsigned char>(text[i]);
        if ((next & 0xc0U) != 0x80U) {
            return 0;
        }
        character = (character << 6U) | (next & 0x3fU);
    }
    return isScalar(character, length) && !isControl(character) ? length : 0;
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
