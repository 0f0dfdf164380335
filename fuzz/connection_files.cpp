// The files that tell how to reach Redis. Properties, for any bytes in any of the three files and
// for any of them missing:
// - A setting is its file's first line, at most 1023 bytes of it, up to a NUL.
// - The connection information is the one that the rules of a model in this file give, or none.
// - Once found, it stays the same when the files are gone.

// The process-wide cache has no reset; the target sees it by being one translation unit with it.
#include "core/redis_connection.cpp" // NOLINT(bugprone-suspicious-include)
#include "fuzz/input.h"
#include "fuzz/property.h"
#include "tests/support/temp_files.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>

namespace {

constexpr std::size_t LONGEST_LINE = 1023;
constexpr std::size_t LONGEST_FILE = 1300;

struct ConnectionFiles {
    std::optional<std::string> port, socket, password;
};

std::optional<std::string> takeFile(Input& input) {
    // Lengths around the limit come up of themselves.
    switch (input.choose(4)) {
    case 0:
        return std::nullopt;
    case 1:
        return std::string(LONGEST_LINE - 2 + input.choose(4), '7') + input.text(20);
    default:
        return input.text(LONGEST_FILE);
    }
}

void putFile(const char* name, const std::optional<std::string>& content) {
    const std::string path = std::string("/var/run/redis.") + name;
    if (content) {
        writeFile(path, *content);
    } else {
        std::filesystem::remove(path);
    }
}

void putFiles(const ConnectionFiles& files) {
    putFile("port", files.port);
    putFile("unixsocket", files.socket);
    putFile("requirepass", files.password);
}

std::optional<std::string> modelSetting(const std::optional<std::string>& content) {
    if (!content || content->empty()) {
        return std::nullopt;
    }
    std::string line = content->substr(0, content->find('\n'));
    if (line.size() < content->size()) {
        line += '\n';
    }
    line.resize(std::min(line.size(), LONGEST_LINE));
    return line.substr(0, line.find('\0'));
}

// Nothing for a text that is no port, however large.
std::optional<long> modelPort(const std::optional<std::string>& text) {
    if (!text || text->empty()) {
        return std::nullopt;
    }
    long port = 0;
    for (const char c : *text) {
        if (c == '\n') {
            continue;
        }
        if (c < '0' || c > '9' || __builtin_mul_overflow(port, 10L, &port) ||
            __builtin_add_overflow(port, static_cast<long>(c - '0'), &port)) {
            return std::nullopt;
        }
    }
    return port;
}

std::string describe(int type, long port, const std::string& socket, const std::string& password) {
    return "type " + std::to_string(type) + " port " + std::to_string(port) + " socket " + socket +
           " password " + password;
}

std::string describe(const RedisConnectionInfo* info) {
    return info == nullptr ? "none"
                           : describe(info->type, info->port, info->socketPath, info->password);
}

std::string modelInfo(const ConnectionFiles& files) {
    const std::optional<long> port = modelPort(modelSetting(files.port));
    const std::optional<std::string> socket = modelSetting(files.socket);
    const bool overTcp = port && *port >= 1 && !socket;
    if (!port || (overTcp && *port != 6379)) {
        return "none";
    }
    return describe(overTcp ? 2 : 1, overTcp ? 6379 : 0, socket.value_or(""),
                    modelSetting(files.password).value_or(""));
}

void checkSetting(const char* name, const std::optional<std::string>& content) {
    const HeapText text(getRedisConfiguration(name));
    requireSame(text ? std::string("text ") + text.get() : "none",
                modelSetting(content) ? "text " + *modelSetting(content) : "none",
                "a setting is its file's first line");
}

// No file has so long a name, so that only the limit of the name itself could be passed.
void checkLongName(std::size_t length) {
    const HeapText text(getRedisConfiguration(std::string(length, 'n').c_str()));
    require(text == nullptr, "a setting without a file");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input(data, size);
    ConnectionFiles files;
    checkLongName(1000 + input.choose(60));
    files.port = takeFile(input);
    files.socket = takeFile(input);
    files.password = takeFile(input);

    putFiles(files);
    checkSetting("port", files.port);
    checkSetting("unixsocket", files.socket);
    checkSetting("requirepass", files.password);

    gConnectionCache = {};
    const std::string expected = modelInfo(files);
    requireSame(describe(HeapInfo(getRedisConnectionInfo()).get()), expected,
                "how the server is reached");
    putFiles({});
    requireSame(describe(HeapInfo(getRedisConnectionInfo()).get()), expected,
                "what was found stays");
    return 0;
}
