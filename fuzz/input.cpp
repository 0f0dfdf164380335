#include "fuzz/input.h"

#include <algorithm>

std::uint8_t Input::byte() {
    if (mBytes.empty()) {
        return 0;
    }
    const auto first = static_cast<std::uint8_t>(mBytes.front());
    mBytes.remove_prefix(1);
    return first;
}

std::size_t Input::choose(std::size_t count) {
    return byte() % count;
}

std::uint64_t Input::number() {
    std::uint64_t value = 0;
    for (unsigned int shift = 0; shift < 64; shift += 8) {
        value |= std::uint64_t{byte()} << shift;
    }
    return value;
}

std::string Input::text(std::size_t longest) {
    std::size_t length = byte();
    if (longest > 255) {
        length = length * 256 + byte();
    }
    length = std::min({length, longest, mBytes.size()});
    std::string taken(mBytes.substr(0, length));
    mBytes.remove_prefix(length);
    return taken;
}

std::string Input::rest() {
    std::string taken(mBytes);
    mBytes = {};
    return taken;
}
