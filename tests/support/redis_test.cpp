// The Redis server, client, command recorder and pipeline reader that the tests use.

#include "tests/support/command_monitor.h"
#include "tests/support/wire.h"
#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"

#include <gtest/gtest.h>
#include <hiredis/hiredis.h>

TEST(RedisClient, DumpsEveryTypeSorted) {
    const RedisServer server;
    RedisClient client(server);
    client.command("SET", "text", "a b");
    client.command("HSET", "/hash", "b", "2", "a", "");
    client.command("RPUSH", "list", "x", "\"y\"");
    client.command("EXPIRE", "list", "6");
    EXPECT_EQ(client.dumpAll(), "/hash (hash)\n"
                                "  a = \"\"\n"
                                "  b = 2\n"
                                "list (list) expires 6\n"
                                "  [0] = x\n"
                                "  [1] = \"\\\"y\\\"\"\n"
                                "text (string) = \"a b\"\n");
    client.flushAll();
    EXPECT_EQ(client.dumpAll(), "");
}

TEST(RedisServer, AsksForItsPassword) {
    RedisServerOptions options;
    options.password = "secret word";
    const RedisServer server(options);
    EXPECT_EQ(RedisClient(server).command("PING").text, "PONG");
    redisContext* context = redisConnectUnix(server.socketPath().c_str());
    auto* reply = static_cast<redisReply*>(redisCommand(context, "PING"));
    ASSERT_NE(reply, nullptr);
    EXPECT_STREQ(reply->str, "NOAUTH Authentication required.");
    freeReplyObject(reply);
    redisFree(context);
}

TEST(RedisServer, KeepsDataOverARestartWhenAsked) {
    for (const bool keep : {false, true}) {
        RedisServerOptions options;
        options.keepData = keep;
        RedisServer server(options);
        RedisClient(server).command("SET", "k", "v");
        server.restart();
        EXPECT_EQ(RedisClient(server).keys().size(), keep ? 1U : 0U);
    }
}

TEST(RedisServer, StopClosesConnectionsAndPauseKeepsThem) {
    RedisServer server;
    RedisClient client(server);
    client.command("SUBSCRIBE", "news");
    server.pause();
    RedisAnswer message;
    EXPECT_FALSE(client.nextMessage(message, 0.2));
    server.resume();
    RedisClient(server).command("PUBLISH", "news", "hello");
    ASSERT_TRUE(client.nextMessage(message, 60));
    EXPECT_EQ(message.texts(), (Command{"message", "news", "hello"}));
    server.stop();
    EXPECT_THROW((void)client.nextMessage(message, 60), std::runtime_error);
    EXPECT_THROW(RedisClient other(server), std::runtime_error);
}

TEST(RedisServer, WritesItsConnectionFiles) {
    RedisServerOptions options;
    options.tcpPort = 6379;
    options.password = "pw";
    const RedisServer server(options);
    writeConnectionFiles(server);
    EXPECT_EQ(readFile("/var/run/redis.port"), "0");
    EXPECT_EQ(readFile("/var/run/redis.unixsocket"), server.socketPath());
    EXPECT_EQ(readFile("/run/redis.requirepass"), "pw");
    writeConnectionFiles(server, RedisAddress::TCP);
    EXPECT_EQ(readFile("/var/run/redis.port"), "6379");
    EXPECT_FALSE(fileExists("/var/run/redis.unixsocket"));
}

TEST(CommandMonitor, RecordsWordsByteForByteAndByClient) {
    RedisServerOptions options;
    options.tcpPort = 6379;
    const RedisServer server(options);
    RedisClient overSocket(server);
    RedisClient overTcp = RedisClient::overTcp(server);
    const std::string tcpAddress = overTcp.address();
    const std::string socketAddress = overSocket.address();
    const std::string bytes("\"\\ \n\r\t\a\b\x01\xff\0]", 12);
    CommandMonitor monitor(server);
    overSocket.command("SET", "k", bytes);
    overTcp.command("get", "k");
    overSocket.command("DEL", "k", "");
    const Commands ofSocket{{"SET", "k", bytes}, {"DEL", "k", ""}};
    EXPECT_EQ(monitor.commands(), (Commands{ofSocket[0], {"get", "k"}, ofSocket[1]}));
    EXPECT_EQ(monitor.commandsFrom("unix:"), ofSocket);
    EXPECT_EQ(monitor.commandsFrom(socketAddress), ofSocket);
    EXPECT_EQ(monitor.commandsNotFrom(tcpAddress), ofSocket);
    EXPECT_EQ(describeCommands({{"get", "k"}, {"DEL", "a b", ""}}), "get k\nDEL \"a b\" \"\"\n");
}

TEST(Wire, ReadsAppendedCommandsWithoutSendingThem) {
    const RedisServer server;
    RedisClient client(server);
    redisAppendCommand(client.context(), "HSET %s %s %b", "k", "f 1", "a\r\n\0b", std::size_t{5});
    redisAppendCommand(client.context(), "DEL %s", "");
    const Commands expected{{"HSET", "k", "f 1", std::string("a\r\n\0b", 5)}, {"DEL", ""}};
    EXPECT_EQ(pendingCommands(client.context()), expected);
    EXPECT_TRUE(RedisClient(server).keys().empty());
}

TEST(Wire, RefusesWhatIsNoCommand) {
    for (const std::string text : {"x", "*1", "*1\r\n", "*1\r\n$3\r\nab\r\n", "*\r\n",
                                   "*1\r\n$1\r\nabc", "*1\n$1\r\na\r\n"}) {
        EXPECT_THROW((void)parseCommands(text), std::runtime_error) << text;
    }
    EXPECT_TRUE(parseCommands("").empty());
}
