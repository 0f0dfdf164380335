// Commands put together as bytes. Property: they are the bytes that hiredis makes of a format with
// a %s for every word.

#include "core/redis_connection.h"
#include "core/redis_pipeline.h"
#include "fuzz/input.h"
#include "fuzz/property.h"

#include <hiredis/sds.h>

#include <array>

namespace {

constexpr std::size_t LONGEST_WORD = 40;
constexpr std::size_t LONG_WORDS = 20000; // longer than a part

using Words = std::array<std::string, 3>;

std::string word(Input& input) {
    std::string text = input.text(LONGEST_WORD);
    if (input.choose(16) == 15) {
        text.resize(input.choose(256) * LONG_WORDS / 256, 'a');
    }
    return text;
}

std::string formatted(const Words& words) {
    char* text = nullptr;
    const auto length =
        redisFormatCommand(&text, "%s %s %s", words[0].c_str(), words[1].c_str(), words[2].c_str());
    std::string bytes(text, static_cast<std::size_t>(length));
    redisFreeCommand(text);
    return bytes;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input(data, size);
    const RedisConnection connection(redisConnectFd(-1)); // nothing is ever sent
    RedisPipeline pipeline(connection.get());
    std::string expected;
    std::size_t commands = 0;
    while (!input.empty()) {
        const Words words = {word(input), word(input), word(input)};
        pipeline.append({words[0], words[1], words[2]});
        expected += formatted(words);
        ++commands;
    }
    require(pipeline.handOver() == commands, "every command is taken");
    requireSame(std::string(connection->obuf, sdslen(connection->obuf)), expected,
                "the bytes of the commands");
    return 0;
}
