#pragma once

// The bytes of one fuzz input, used up from the front as a list of choices. An input that is used
// up answers every question with zero or an empty text, so that each input means something.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

class Input {
public:
    Input(const std::uint8_t* data, std::size_t size)
        : mBytes(reinterpret_cast<const char*>(data), size) {}

    [[nodiscard]] bool empty() const {
        return mBytes.empty();
    }

    [[nodiscard]] std::uint8_t byte();

    // 0 to count - 1; one byte.
    [[nodiscard]] std::size_t choose(std::size_t count);

    [[nodiscard]] bool flag() {
        return choose(2) == 1;
    }

    // One of the texts.
    template <typename Texts>
    [[nodiscard]] std::string pick(const Texts& texts) {
        return std::string(texts[choose(texts.size())]);
    }

    // Little-endian, eight bytes.
    [[nodiscard]] std::uint64_t number();

    // A length (two bytes when longest is above 255) and so many bytes.
    [[nodiscard]] std::string text(std::size_t longest);

    [[nodiscard]] std::string rest();

private:
    std::string_view mBytes;
};
