// Connecting to a real server, over its socket and over TCP, and logging in.

#include "core/redis_connection.h"
#include "core/redis_reply.h"
#include "tests/core/fresh_process.h"
#include "tests/core/scripted_server.h"
#include "tests/support/process_memory.h"
#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"
#include "tests/support/temp_files.h"
#include "tests/support/wait.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>
#include <cstring>
#include <filesystem>

namespace {

constexpr int UNIX_SOCKET = 1;
constexpr int TCP = 2;
constexpr int STANDARD_PORT = 6379;

RedisConnectionInfo infoFor(int type, const std::string& socketPath, long port = 0) {
    RedisConnectionInfo info{};
    info.type = type;
    info.port = port;
    std::strncpy(info.socketPath, socketPath.c_str(), sizeof info.socketPath - 1);
    return info;
}

bool hasTimeout(const redisContext& context) {
#if HIREDIS_MAJOR >= 1
    return context.connect_timeout != nullptr || context.command_timeout != nullptr;
#else
    return context.timeout != nullptr;
#endif
}

RedisConnection connectTo(const std::string& socketPath) {
    auto info = infoFor(UNIX_SOCKET, socketPath);
    return RedisConnection(connectToRedis(&info));
}

std::string ping(redisContext* context) {
    if (context == nullptr) {
        return "no connection";
    }
    const RedisReply reply = sendRedisCommand(context, {"PING"});
    return reply ? std::string(replyText(*reply)) : "no reply";
}

// What a process that connects for the first time gets on the server's PING.
std::string pingOfFreshProcess() {
    return inFreshProcess([] {
        const RedisConnection connection(redisConnectContext());
        return ping(connection.get());
    });
}

std::size_t openSockets() {
    std::size_t sockets = 0;
    for (const auto& name : listDirectory("/proc/self/fd")) {
        struct stat status {};
        if (::fstat(std::stoi(name), &status) == 0 && S_ISSOCK(status.st_mode)) {
            ++sockets;
        }
    }
    return sockets;
}

RedisServerOptions onTcp(int port, const std::string& password = "") {
    RedisServerOptions options;
    options.tcpPort = port;
    options.password = password;
    return options;
}

// ---- connectToRedis ----

TEST(ConnectToRedis, reachesAUnixSocketAndSetsNoTimeout) {
    const RedisServer server;
    const RedisConnection connection = connectTo(server.socketPath());
    EXPECT_EQ(ping(connection.get()), "PONG");
    EXPECT_FALSE(hasTimeout(*connection));
}

TEST(ConnectToRedis, reachesAnyTcpPortAtTheLoopbackAddress) {
    for (const int port : {STANDARD_PORT, 6401}) {
        const RedisServer server(onTcp(port));
        auto info = infoFor(TCP, "", port);
        const RedisConnection connection(connectToRedis(&info));
        EXPECT_EQ(ping(connection.get()), "PONG");
        EXPECT_STREQ(info.host, "127.0.0.1");
    }
}

TEST(ConnectToRedis, keepsAHostThatIsGiven) {
    const RedisServer server(onTcp(STANDARD_PORT)); // at 127.0.0.1 only
    auto info = infoFor(TCP, "", STANDARD_PORT);
    info.host = "127.0.0.2";
    EXPECT_EQ(connectToRedis(&info), nullptr);
    EXPECT_STREQ(info.host, "127.0.0.2");
}

TEST(ConnectToRedis, givesNullForNoInfoAndAnUnknownType) {
    EXPECT_EQ(connectToRedis(nullptr), nullptr);
    const RedisServer server(onTcp(STANDARD_PORT));
    for (const int type : {0, 3, -1}) {
        auto info = infoFor(type, server.socketPath(), STANDARD_PORT);
        EXPECT_EQ(connectToRedis(&info), nullptr) << type;
    }
}

TEST(ConnectToRedis, givesNullWhereNobodyListens) {
    const RedisServer server;
    auto port = infoFor(TCP, "", STANDARD_PORT);
    EXPECT_EQ(connectToRedis(&port), nullptr);
    for (const std::string& path : {std::string("/run/missing.sock"), std::string(),
                                    "/run/" + std::string(1018, 's'), server.socketPath() + "\n"}) {
        EXPECT_EQ(connectTo(path), nullptr) << path;
    }
}

// ---- redisAuthentication ----

class Authentication : public testing::Test {
protected:
    RedisServer mServer{onTcp(0, "right pass%word %s")};
    RedisConnection mConnection = connectTo(mServer.socketPath());
};

TEST_F(Authentication, acceptsThePassword) {
    EXPECT_EQ(redisAuthentication(mConnection.get(), "right pass%word %s"), 0);
    EXPECT_EQ(ping(mConnection.get()), "PONG");
}

TEST_F(Authentication, refusesAnotherPassword) {
    EXPECT_EQ(redisAuthentication(mConnection.get(), "wrong"), 1);
    EXPECT_EQ(redisAuthentication(mConnection.get(), ""), 1);
    EXPECT_EQ(redisAuthentication(mConnection.get(), "right pass%word %s\n"), 1);
    EXPECT_EQ(ping(mConnection.get()), "NOAUTH Authentication required.");
}

TEST_F(Authentication, failsWithoutAContextOrAPassword) {
    EXPECT_EQ(redisAuthentication(nullptr, "right pass%word %s"), 1);
    EXPECT_EQ(redisAuthentication(mConnection.get(), nullptr), 1);
}

TEST_F(Authentication, failsWithoutAReply) {
    (void)std::signal(SIGPIPE, SIG_IGN); // as the daemon does
    mServer.stop();
    EXPECT_EQ(redisAuthentication(mConnection.get(), "right pass%word %s"), 1);
}

TEST(AuthenticationReply, ofAServerWithoutPasswordIsAFailure) {
    const RedisServer server;
    const RedisConnection connection = connectTo(server.socketPath());
    EXPECT_EQ(redisAuthentication(connection.get(), "needless"), 1);
}

TEST(AuthenticationReply, isExactlyTheStatusOk) {
    const struct {
        const char* bytes;
        int result;
    } rows[] = {
        {"+OK\r\n", 0}, {"+OKAY\r\n", 1},    {"+ok\r\n", 1},
        {"+\r\n", 1},   {"$2\r\nOK\r\n", 1}, {"-OK\r\n", 1},
        {":0\r\n", 1},  {"$-1\r\n", 1},      {"HTTP/1.1 200 OK\r\n", 1},
    };
    for (const auto& [bytes, result] : rows) {
        ScriptedServer server({bytes});
        RedisConnection connection = connectTo(server.socketPath());
        EXPECT_EQ(redisAuthentication(connection.get(), "two words\n"), result) << bytes;
        connection.reset();
        EXPECT_EQ(server.received(), (Commands{{"AUTH", "two words\n"}}));
    }
}

// ---- redisConnectContext ----

TEST(ConnectContext, reachesTheServerOverBothRoadsAndLogsInWhereThereIsAPassword) {
    for (const char* password : {"", "pass word"}) {
        const RedisServer server(onTcp(STANDARD_PORT, password));
        for (const RedisAddress address : {RedisAddress::UNIX_SOCKET, RedisAddress::TCP}) {
            writeConnectionFiles(server, address);
            EXPECT_EQ(pingOfFreshProcess(), "PONG") << password;
        }
    }
}

TEST(ConnectContext, isNullWithAnotherPort) {
    const RedisServer server(onTcp(6380));
    writeConnectionFiles(server, RedisAddress::TCP);
    EXPECT_EQ(pingOfFreshProcess(), "no connection");
}

TEST(ConnectContext, prefersTheSocketToThePort) {
    const RedisServer onPort(onTcp(STANDARD_PORT));
    const RedisServer onSocket;
    writeConnectionFiles(onSocket);
    writeFile("/var/run/redis.port", "6379");
    RedisClient(onPort).command("SET", "server", "port");
    RedisClient(onSocket).command("SET", "server", "socket");
    EXPECT_EQ(
        inFreshProcess([] {
            const RedisConnection connection(redisConnectContext());
            return std::string(replyText(*sendRedisCommand(connection.get(), {"GET", "server"})));
        }),
        "socket");
}

TEST(ConnectContext, isNullWhileTheServerIsDown) {
    RedisServer server;
    writeConnectionFiles(server);
    server.stop();
    EXPECT_EQ(pingOfFreshProcess(), "no connection");
}

TEST(ConnectContext, isNullWithAWrongPasswordOrOneWithALineEnd) {
    const RedisServer server(onTcp(0, "right"));
    writeConnectionFiles(server);
    for (const char* password : {"wrong", "right\n"}) {
        writeFile("/var/run/redis.requirepass", password);
        EXPECT_EQ(pingOfFreshProcess(), "no connection") << password;
    }
}

TEST(ConnectContext, isNullWithAPasswordThatTheServerDoesNotAskFor) {
    const RedisServer server;
    writeConnectionFiles(server);
    writeFile("/var/run/redis.requirepass", "needless");
    EXPECT_EQ(pingOfFreshProcess(), "no connection");
}

TEST(ConnectContext, doesNotLogInWithoutAPassword) {
    const RedisServer server(onTcp(0, "right"));
    writeConnectionFiles(server);
    std::filesystem::remove("/var/run/redis.requirepass");
    EXPECT_EQ(pingOfFreshProcess(), "NOAUTH Authentication required.");
}

TEST(ConnectContext, leavesARefusedConnectionOpen) {
    const RedisServer server(onTcp(0, "right"));
    writeConnectionFiles(server);
    writeFile("/var/run/redis.requirepass", "wrong");
    EXPECT_EQ(inFreshProcess([] {
                  const std::size_t before = openSockets();
                  const bool connected = redisConnectContext() != nullptr;
                  return std::to_string(connected) + " " + std::to_string(openSockets() - before);
              }),
              "0 1");
}

TEST(ConnectContext, givesEveryCallerAConnectionOfItsOwn) {
    const RedisServer server;
    writeConnectionFiles(server);
    EXPECT_EQ(inFreshProcess([] {
                  const RedisConnection first(redisConnectContext());
                  RedisConnection second(redisConnectContext());
                  const bool different = first.get() != second.get() && first->fd != second->fd;
                  second.reset();
                  return std::to_string(different) + " " + ping(first.get());
              }),
              "1 PONG");
}

// ---- wipeConnectionBuffers ----

TEST(ConnectionBuffers, holdNoReplyOnceTheyAreWiped) {
    const RedisServer server;
    const RedisConnection connection = connectTo(server.socketPath());
    const std::string secret(500, 's');
    ASSERT_NE(sendRedisCommand(connection.get(), {"ECHO", secret}), nullptr);
    const char* buffer = connection->reader->buf;
    EXPECT_NE(memoryAt(buffer, 1000).find("ssss"), std::string::npos);
    wipeConnectionBuffers(connection.get());
    ASSERT_EQ(connection->reader->buf, buffer);
    EXPECT_EQ(memoryAt(buffer, 1000).find("ssss"), std::string::npos);
    EXPECT_EQ(ping(connection.get()), "PONG");
}

TEST(ConnectionBuffers, keepAReplyThatIsStillToBeRead) {
    ScriptedServer server({"+first\r\n+second\r\n"});
    const RedisConnection connection = connectTo(server.socketPath());
    ASSERT_NE(sendRedisCommand(connection.get(), {"PING"}), nullptr);
    wipeConnectionBuffers(connection.get());
    RedisReply reply;
    ASSERT_TRUE(takeRedisReply(connection.get(), reply));
    EXPECT_EQ(replyText(*reply), "second");
}

TEST(ConnectionBuffers, mayBeGoneAfterAnError) {
    ScriptedServer server({"!rubbish\r\n"});
    const RedisConnection connection = connectTo(server.socketPath());
    EXPECT_EQ(sendRedisCommand(connection.get(), {"PING"}), nullptr);
    wipeConnectionBuffers(connection.get());
    wipeConnectionBuffers(nullptr);
}

// ---- redisDisconnectContext ----

TEST(DisconnectContext, closesAConnectionAndGivesZeroOrOneForNone) {
    const RedisServer server;
    RedisClient observer(server);
    redisContext* context = connectTo(server.socketPath()).release();
    ASSERT_EQ(ping(context), "PONG");
    const auto clients = [&] { return splitLines(observer.command("CLIENT", "LIST").text).size(); };
    ASSERT_EQ(clients(), 2U);
    EXPECT_EQ(redisDisconnectContext(context), 0);
    EXPECT_TRUE(waitUntil([&] { return clients() == 1; }));
    EXPECT_EQ(redisDisconnectContext(nullptr), 1);
}

} // namespace
