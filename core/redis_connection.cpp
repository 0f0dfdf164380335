#include "core/redis_connection.h"

#include "core/redis_reply.h"
#include "core/secret.h"

#include <hiredis/sds.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

constexpr std::size_t TEXT_SIZE = 1024;
constexpr const char* CONNECTION_DIRECTORY = "/var/run";
constexpr const char* CONNECTION_FILE_PREFIX = "redis.";
constexpr int UNIX_SOCKET = 1;
constexpr int TCP = 2;
constexpr long STANDARD_PORT = 6379;

// Filled before the threads start, only read afterwards.
struct ConnectionCache {
    bool cached = false;
    int type = 0;
    long port = 0;
    char socketPath[TEXT_SIZE] = "";
    char password[TEXT_SIZE] = "";
};
ConnectionCache gConnectionCache;

struct HeapDeleter {
    void operator()(void* memory) const {
        std::free(memory); // NOLINT(cppcoreguidelines-no-malloc): C interface
    }
};
using HeapText = std::unique_ptr<char, HeapDeleter>;
using HeapInfo = std::unique_ptr<RedisConnectionInfo, HeapDeleter>;

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

// The library's growing buffers, under the names that its versions give to them.
#if HIREDIS_MAJOR == 0
std::size_t usedSize(char* buffer) {
    return sdslen(buffer);
}
std::size_t freeSize(char* buffer) {
    return sdsavail(buffer);
}
#else
std::size_t usedSize(char* buffer) {
    return hi_sdslen(buffer);
}
std::size_t freeSize(char* buffer) {
    return hi_sdsavail(buffer);
}
#endif

// Commands that a failed connection could not send. The library may have no buffer for want of
// memory.
void wipeUnsentCommands(redisContext& context) {
    if (context.obuf != nullptr) {
        explicit_bzero(context.obuf, usedSize(context.obuf));
    }
}

// Only the context's own memory is released: its socket is left to the process.
void abandonContext(redisContext* context) {
    std::free(context); // NOLINT(cppcoreguidelines-no-malloc): allocated by hiredis
}

} // namespace

char* getRedisConfiguration(const char* name) {
    const std::size_t directoryLength = std::strlen(CONNECTION_DIRECTORY);
    if (name == nullptr || std::strlen(name) + directoryLength > TEXT_SIZE - 1) {
        return nullptr;
    }
    char path[TEXT_SIZE + sizeof "/redis."] = "";
    (void)std::snprintf(path, sizeof path, "%s/%s%s", CONNECTION_DIRECTORY, CONNECTION_FILE_PREFIX,
                        name);
    std::FILE* file = std::fopen(path, "r");
    if (file == nullptr) {
        std::perror("fopen");
        return nullptr;
    }
    HeapText line(static_cast<char*>(std::calloc(1, TEXT_SIZE)));
    const bool hasLine = line && std::fgets(line.get(), TEXT_SIZE, file) != nullptr;
    (void)std::fclose(file);
    return hasLine ? line.release() : nullptr;
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
    const RedisReply reply = sendRedisCommand(context, "%s %s", "AUTH", password);
    return isStatusOk(reply) ? 0 : 1;
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
        explicit_bzero(reader.buf + reader.len, freeSize(reader.buf));
    }
    // The library reads through a buffer on the stack.
    wipeUnusedStack();
}
