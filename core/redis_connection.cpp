#include "core/redis_connection.h"

#include "core/open_file.h"
#include "core/redis_reply.h"
#include "core/secret.h"

#include <hiredis/sds.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>

namespace {

constexpr std::size_t TEXT_SIZE = 1024;
constexpr std::size_t LONGEST_NAME = 1015;
constexpr const char* CONNECTION_FILE_PREFIX = "/var/run/redis.";
constexpr int UNIX_SOCKET = 1;
constexpr int TCP = 2;
constexpr long STANDARD_PORT = 6379;

// Holds the one copy of the password that the process keeps. Filled before the threads start, only
// read afterwards.
struct ConnectionCache {
    bool cached = false;
    int type = 0;
    long port = 0;
    char socketPath[TEXT_SIZE] = "";
    char password[TEXT_SIZE] = "";
};
ConnectionCache gConnectionCache;

// Both may hold the password. A text's buffer has TEXT_SIZE bytes.
struct WipedRelease {
    void operator()(char* text) const {
        explicit_bzero(text, TEXT_SIZE);
        std::free(text); // NOLINT(cppcoreguidelines-no-malloc): C interface
    }
    void operator()(RedisConnectionInfo* info) const {
        explicit_bzero(info, sizeof *info);
        std::free(info); // NOLINT(cppcoreguidelines-no-malloc): C interface
    }
};
using HeapText = std::unique_ptr<char, WipedRelease>;
using HeapInfo = std::unique_ptr<RedisConnectionInfo, WipedRelease>;

HeapText readFirstLine(std::FILE* file) {
    HeapText line(static_cast<char*>(std::calloc(1, TEXT_SIZE)));
    // Unbuffered: the stream's buffer would keep a copy of a password.
    (void)std::setvbuf(file, nullptr, _IONBF, 0);
    const bool hasLine = line && std::fgets(line.get(), TEXT_SIZE, file) != nullptr;
    return hasLine ? std::move(line) : nullptr;
}

HeapInfo allocateInfo() {
    return HeapInfo(static_cast<RedisConnectionInfo*>(std::calloc(1, sizeof(RedisConnectionInfo))));
}

void copyText(char* destination, const char* source) {
    (void)std::snprintf(destination, TEXT_SIZE, "%s", source);
}

HeapInfo copyCachedInfo() {
    HeapInfo info = allocateInfo();
    if (info) {
        info->type = gConnectionCache.type;
        info->port = gConnectionCache.port;
        copyText(info->socketPath, gConnectionCache.socketPath);
        copyText(info->password, gConnectionCache.password);
    }
    return info;
}

void fillCache(const RedisConnectionInfo& info) {
    gConnectionCache.type = info.type;
    gConnectionCache.port = info.port;
    copyText(gConnectionCache.socketPath, info.socketPath);
    copyText(gConnectionCache.password, info.password);
    gConnectionCache.cached = true;
}

// The port of the port file; negative when there is none to use.
long readPort() {
    const HeapText text(getRedisConfiguration("port"));
    if (!text || *text == '\0') {
        return -1;
    }
    if (std::strspn(text.get(), "0123456789\n") != std::strlen(text.get())) {
        return -1;
    }
    errno = 0;
    const long port = std::strtol(text.get(), nullptr, 10);
    if (errno == ERANGE && port == LONG_MAX) {
        std::perror("strtol");
        return -1;
    }
    return port;
}

// False when neither the socket nor the standard port is there.
bool chooseTransport(RedisConnectionInfo& info, long port, const char* socketPath) {
    if (port >= 1 && socketPath == nullptr) {
        info.type = TCP;
        info.port = port;
        return port == STANDARD_PORT;
    }
    info.type = UNIX_SOCKET;
    info.port = 0;
    copyText(info.socketPath, socketPath == nullptr ? "" : socketPath);
    return true;
}

// Commands that a failed connection could not send. The library may have no buffer for want of
// memory.
void wipeUnsentCommands(redisContext& context) {
    if (context.obuf != nullptr) {
        explicit_bzero(context.obuf, sdslen(context.obuf));
    }
}

bool sendAll(int socket, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = ::write(socket, bytes.data(), bytes.size());
        if (sent < 0 && errno == EINTR) {
            continue;
        }
        if (sent < 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

// The library would leave the command in buffers that it gives back, so it goes out from a buffer
// that is wiped here.
bool sendPassword(const redisContext& context, const char* password) {
    const char* words[] = {"AUTH", password};
    char* command = nullptr;
    const auto length = redisFormatCommandArgv(&command, std::ssize(words), words, nullptr);
    if (length < 0) {
        return false;
    }
    const std::string_view bytes(command, static_cast<std::size_t>(length));
    const bool sent = sendAll(context.fd, bytes);
    explicit_bzero(command, bytes.size());
    redisFreeCommand(command);
    return sent;
}

// Only the context's own memory is released: its socket is left to the process.
void abandonContext(redisContext* context) {
    std::free(context); // NOLINT(cppcoreguidelines-no-malloc): allocated by hiredis
}

} // namespace

char* getRedisConfiguration(const char* name) {
    if (name == nullptr || std::strlen(name) > LONGEST_NAME) {
        return nullptr;
    }
    const OpenFile file(std::fopen((std::string(CONNECTION_FILE_PREFIX) + name).c_str(), "r"));
    if (!file) {
        std::perror("fopen");
        return nullptr;
    }
    return readFirstLine(file.get()).release();
}

RedisConnectionInfo* getRedisConnectionInfo() {
    if (gConnectionCache.cached) {
        return copyCachedInfo().release();
    }
    const long port = readPort();
    if (port < 0) {
        return nullptr;
    }
    HeapInfo info = allocateInfo();
    if (!info) {
        return nullptr;
    }
    const HeapText socketPath(getRedisConfiguration("unixsocket"));
    if (!chooseTransport(*info, port, socketPath.get())) {
        return nullptr;
    }
    const HeapText password(getRedisConfiguration("requirepass"));
    if (password) {
        copyText(info->password, password.get());
    }
    fillCache(*info);
    return info.release();
}

redisContext* connectToRedis(RedisConnectionInfo* info) {
    if (info == nullptr) {
        return nullptr;
    }
    redisContext* context = nullptr;
    if (info->type == UNIX_SOCKET) {
        context = redisConnectUnix(info->socketPath);
    } else if (info->type == TCP) {
        if (info->host == nullptr) {
            info->host = "127.0.0.1";
        }
        context = redisConnect(info->host, static_cast<int>(info->port));
    }
    if (context != nullptr && context->err != 0) {
        abandonContext(context);
        return nullptr;
    }
    return context;
}

int redisAuthentication(redisContext* context, const char* password) {
    if (context == nullptr || password == nullptr) {
        return 1;
    }
    RedisReply reply;
    const bool answered = sendPassword(*context, password) && takeRedisReply(context, reply);
    return answered && isStatusOk(reply) ? 0 : 1;
}

redisContext* redisConnectContext() {
    const HeapInfo info(getRedisConnectionInfo());
    if (!info) {
        return nullptr;
    }
    redisContext* context = connectToRedis(info.get());
    if (context != nullptr && info->password[0] != '\0' &&
        redisAuthentication(context, info->password) != 0) {
        abandonContext(context);
        return nullptr;
    }
    return context;
}

int redisDisconnectContext(redisContext* context) {
    if (context == nullptr) {
        return 1;
    }
    wipeConnectionBuffers(context);
    wipeUnsentCommands(*context);
    redisFree(context);
    return 0;
}

void wipeConnectionBuffers(redisContext* context) {
    if (context == nullptr) {
        return;
    }
    const redisReader& reader = *context->reader;
    if (reader.buf != nullptr) { // an error costs the reader its buffer
        explicit_bzero(reader.buf, reader.pos);
        explicit_bzero(reader.buf + reader.len, sdsavail(reader.buf));
    }
    // The library reads through a buffer on the stack.
    wipeUnusedStack();
}
