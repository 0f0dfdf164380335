#include "frontend/exchange/redis_session.h"

#include "core/secret.h"
#include "frontend/exchange/front_end_error.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

namespace {

constexpr const char* PORT_FILE = "/var/run/redis.port";
constexpr const char* SOCKET_FILE = "/var/run/redis.unixsocket";

// As RedisConnectionInfo::type names them.
constexpr int UNIX_SOCKET = 1;
constexpr int TCP = 2;
constexpr long STANDARD_PORT = 6379;

// How long one command may take: as long as the front end's own default for its connections says.
constexpr timeval COMMAND_TIME = {5, 0};

struct HeapTextEnd {
    void operator()(char* text) const {
        explicit_bzero(text, std::strlen(text)); // it may be the password
        std::free(text);                         // NOLINT(cppcoreguidelines-no-malloc): C interface
    }
};

// Empty when the file is not there. It is looked for first, because getRedisConfiguration complains
// of each missing file on standard error, and a server without a password has no password file.
std::string connectionFile(const std::string& name) {
    if (access(("/var/run/redis." + name).c_str(), R_OK) != 0) {
        return {};
    }
    const std::unique_ptr<char, HeapTextEnd> text(getRedisConfiguration(name.c_str()));
    return text ? std::string(text.get()) : std::string();
}

// Null when the files name no server that takes connections.
RedisConnection connectByFiles() {
    const std::string port = connectionFile("port");
    const std::string socketPath = connectionFile("unixsocket");
    RedisConnectionInfo info{};
    info.type = socketPath.empty() ? TCP : UNIX_SOCKET;
    info.port = std::strtol(port.c_str(), nullptr, 10);
    if (port.empty() || (socketPath.empty() && info.port != STANDARD_PORT)) {
        return nullptr;
    }
    (void)std::snprintf(info.socketPath, sizeof info.socketPath, "%s", socketPath.c_str());
    return RedisConnection(connectToRedis(&info));
}

bool authenticate(redisContext* context) {
    std::string password = connectionFile("requirepass");
    const bool accepted = password.empty() || redisAuthentication(context, password.c_str()) == 0;
    wipeText(password);
    wipeConnectionBuffers(context);
    return accepted;
}

FrontEndError cannotConnect() {
    if (access(PORT_FILE, R_OK) != 0) {
        return {FailureKind::NO_REDIS,
                std::string("Redis is not there: its connection file ") + PORT_FILE +
                    " cannot be read.",
                "Start the board's Redis server. A server started by hand needs the files " +
                    std::string(PORT_FILE) + " (holding 0) and " + SOCKET_FILE +
                    " (holding the path of its socket), both without a line end."};
    }
    return {FailureKind::NO_REDIS,
            "Redis is not there: the server that the files /var/run/redis.* name does not answer "
            "or refuses the password.",
            "Look whether redis-server runs, and on which socket."};
}

// Words as the library takes them, which must outlive this.
struct WordList {
    explicit WordList(const std::vector<std::string>& words) {
        for (const std::string& word : words) {
            texts.push_back(word.data());
            lengths.push_back(word.size());
        }
    }
    [[nodiscard]] int count() const {
        return static_cast<int>(texts.size());
    }

    std::vector<const char*> texts;
    std::vector<std::size_t> lengths;
};

// Null when the connection fails.
RedisReply sendWords(redisContext* context, const std::vector<std::string>& words) {
    WordList list(words);
    return RedisReply(static_cast<redisReply*>(
        redisCommandArgv(context, list.count(), list.texts.data(), list.lengths.data())));
}

// False when not all of them could be sent.
bool sendBytes(int socket, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno != EINTR) {
            return false;
        }
        bytes.remove_prefix(sent < 0 ? 0 : static_cast<std::size_t>(sent));
    }
    return true;
}

// Sends past the library's own buffer, which leaves what it held in memory that it gives back.
// Nothing may be waiting there. A connection that has not taken all of it is ended, which the next
// reply tells.
void sendSecretWords(redisContext* context, const std::vector<std::string>& words) {
    WordList list(words);
    char* command = nullptr;
    const auto size = static_cast<std::ptrdiff_t>(
        redisFormatCommandArgv(&command, list.count(), list.texts.data(), list.lengths.data()));
    const std::string_view bytes(command, size < 0 ? 0 : static_cast<std::size_t>(size));
    if (bytes.empty() || !sendBytes(context->fd, bytes)) {
        (void)shutdown(context->fd, SHUT_RDWR);
    }
    if (command != nullptr) {
        explicit_bzero(command, bytes.size());
        redisFreeCommand(command);
    }
}

RedisReply checkedReply(const redisContext* context, RedisReply reply) {
    if (!reply && context->err == REDIS_ERR_IO && errno == EAGAIN) {
        throw FrontEndError(FailureKind::NO_REDIS,
                            "Redis gives no answer within " + std::to_string(COMMAND_TIME.tv_sec) +
                                " seconds.",
                            "It is stopped or overloaded; look what it does.");
    }
    if (!reply) {
        throw FrontEndError(FailureKind::NO_REDIS,
                            std::string("The connection to Redis is lost: ") + context->errstr);
    }
    if (reply->type == REDIS_REPLY_ERROR) {
        throw FrontEndError(FailureKind::NO_REDIS,
                            "Redis refuses a command: " + replyBytes(*reply));
    }
    return reply;
}

} // namespace

RedisConnection openRedisSession() {
    RedisConnection session = connectByFiles();
    if (session) {
        (void)redisSetTimeout(session.get(), COMMAND_TIME);
    }
    if (!session || !authenticate(session.get())) {
        throw cannotConnect();
    }
    (void)runCommand(session.get(), {"PING"});
    return session;
}

RedisReply runCommand(redisContext* context, const std::vector<std::string>& words) {
    return checkedReply(context, sendWords(context, words));
}

RedisReply runSecretCommand(redisContext* context, const std::vector<std::string>& words) {
    void* reply = nullptr;
    sendSecretWords(context, words);
    (void)redisGetReply(context, &reply);
    return checkedReply(context, RedisReply(static_cast<redisReply*>(reply)));
}

long long runIntegerCommand(redisContext* context, const std::vector<std::string>& words) {
    const RedisReply reply = runCommand(context, words);
    return reply->type == REDIS_REPLY_INTEGER ? reply->integer : 0;
}

std::string runTextCommand(redisContext* context, const std::vector<std::string>& words) {
    return replyBytes(*runCommand(context, words));
}

std::vector<std::string> runListCommand(redisContext* context,
                                        const std::vector<std::string>& words) {
    const RedisReply reply = runCommand(context, words);
    std::vector<std::string> texts;
    if (reply->type == REDIS_REPLY_ARRAY) {
        for (std::size_t i = 0; i < reply->elements; ++i) {
            texts.push_back(replyBytes(*reply->element[i]));
        }
    }
    return texts;
}

std::string replyBytes(const redisReply& reply) {
    return std::string(replyText(reply));
}

std::string readHashField(redisContext* context, const std::string& key, const std::string& field) {
    RedisReply reply = sendWords(context, {"HGET", key, field});
    const bool isNoHash =
        reply && reply->type == REDIS_REPLY_ERROR && replyBytes(*reply).starts_with("WRONGTYPE");
    return isNoHash ? std::string() : replyBytes(*checkedReply(context, std::move(reply)));
}
