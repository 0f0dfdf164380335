#include "requests/identifiers.h"

#include <fcntl.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>

namespace {

constexpr const char* RANDOM_SOURCE = "/dev/urandom";
constexpr int HEXADECIMAL = 16;

} // namespace

std::string generateEtag() {
    timeval now{};
    (void)gettimeofday(&now, nullptr);
    const std::int64_t milliseconds =
        static_cast<std::int64_t>(now.tv_sec) * 1000 + now.tv_usec / 1000;
    return '"' + std::to_string(milliseconds) + '"';
}

std::string generateRandomId(int byteCount) {
    std::uint32_t number = 0;
    const int source = open(RANDOM_SOURCE, O_RDONLY | O_CLOEXEC);
    if (source < 0) {
        return {};
    }
    const auto wanted = static_cast<std::size_t>(std::max(byteCount, 0));
    const ssize_t received = read(source, &number, std::min(wanted, sizeof number));
    (void)close(source);
    if (received <= 0) {
        return {};
    }
    std::array<char, 2 * sizeof number> digits{};
    const auto result =
        std::to_chars(digits.data(), digits.data() + digits.size(), number, HEXADECIMAL);
    return {digits.data(), result.ptr};
}
