#include "frontend/exchange/redis_session.h"

#include "frontend/exchange/front_end_error.h"

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr const char* PORT_FILE = "/var/run/redis.port";
constexpr const char* SOCKET_FILE = "/var/run/redis.unixsocket";

// The connection functions tell every missing connection file on standard error. A server without a
// password has no password file: not worth a line for each command.
class QuietStandardError {
public:
    QuietStandardError() : saved(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0)) {
        const int nothing = open("/dev/null", O_WRONLY | O_CLOEXEC);
        if (saved >= 0 && nothing >= 0) {
            (void)dup2(nothing, STDERR_FILENO);
        }
        if (nothing >= 0) {
            (void)close(nothing);
        }
    }
    QuietStandardError(const QuietStandardError&) = delete;
    QuietStandardError& operator=(const QuietStandardError&) = delete;
    ~QuietStandardError() {
        if (saved >= 0) {
            (void)dup2(saved, STDERR_FILENO);
            (void)close(saved);
        }
    }

private:
    int saved;
};

FrontEndError cannotConnect() {
    if (access(PORT_FILE, R_OK) != 0) {
        return {EXIT_NO_REDIS,
                std::string("Redis is not there: its connection file ") + PORT_FILE +
                    " cannot be read.",
                "Start the board's Redis server. A server started by hand needs the files " +
                    std::string(PORT_FILE) + " (holding 0) and " + SOCKET_FILE +
                    " (holding the path of its socket), both without a line end."};
    }
    return {EXIT_NO_REDIS,
            "Redis is not there: the server that the files /var/run/redis.* name does not answer "
            "or refuses the password.",
            "Look whether redis-server runs, and on which socket."};
}

RedisReply checkedReply(const redisContext* context, RedisReply reply) {
    if (!reply) {
        throw FrontEndError(EXIT_NO_REDIS,
                            std::string("The connection to Redis is lost: ") + context->errstr);
    }
    if (reply->type == REDIS_REPLY_ERROR) {
        throw FrontEndError(EXIT_NO_REDIS, "Redis refuses a command: " + replyBytes(*reply));
    }
    return reply;
}

} // namespace

RedisConnection openRedisSession() {
    RedisConnection session;
    {
        const QuietStandardError quiet;
        session.reset(redisConnectContext());
    }
    if (!session) {
        throw cannotConnect();
    }
    (void)runCommand(session.get(), {"PING"});
    return session;
}

RedisReply runCommand(redisContext* context, const std::vector<std::string>& words) {
    std::vector<const char*> texts;
    std::vector<std::size_t> lengths;
    for (const std::string& word : words) {
        texts.push_back(word.data());
        lengths.push_back(word.size());
    }
    RedisReply reply(static_cast<redisReply*>(
        redisCommandArgv(context, static_cast<int>(words.size()), texts.data(), lengths.data())));
    return checkedReply(context, std::move(reply));
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
