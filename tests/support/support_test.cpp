// What the tests rely on without seeing it: exact recordings of commands and databases, and the
// stored form of a front end's documents. The other helpers show their faults where they are used.

#include "tests/support/command_monitor.h"
#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"
#include "tests/support/request.h"
#include "tests/support/wire.h"

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
}

TEST(CommandMonitor, RecordsWordsByteForByteAndByClient) {
    const RedisServer server({.tcpPort = 6379});
    RedisClient overSocket(server);
    RedisClient overTcp = RedisClient::overTcp(server);
    const std::string bytes("\"\\ \n\r\t\a\b\x01\xff\0]", 12);
    CommandMonitor monitor(server);
    overSocket.command("SET", "k", bytes);
    overTcp.command("get", "k");
    overSocket.command("DEL", "k", "");
    const Commands ofSocket{{"SET", "k", bytes}, {"DEL", "k", ""}};
    EXPECT_EQ(monitor.commands(), (Commands{ofSocket[0], {"get", "k"}, ofSocket[1]}));
    EXPECT_EQ(monitor.commandsFrom("unix:"), ofSocket);
    EXPECT_EQ(monitor.commandsFrom("127.0.0.1:"), (Commands{{"get", "k"}}));
    EXPECT_EQ(describeCommands({{"get", "k"}, {"DEL", "a b", ""}}), "get k\nDEL \"a b\" \"\"\n");
}

TEST(PendingCommands, AreReadWithoutSendingThem) {
    const RedisServer server;
    RedisClient client(server);
    redisAppendCommand(client.context(), "HSET %s %s %b", "k", "f 1", "a\r\n\0b", std::size_t{5});
    redisAppendCommand(client.context(), "DEL %s", "");
    const Commands expected{{"HSET", "k", "f 1", std::string("a\r\n\0b", 5)}, {"DEL", ""}};
    EXPECT_EQ(pendingCommands(client.context()), expected);
    EXPECT_TRUE(RedisClient(server).keys().empty());
}

TEST(ParsedCommands, AreNothingButCommands) {
    for (const std::string text : {"x", ":1\r\n", "*1", "*1\r\n", "*1\r\n$3\r\nab\r\n", "*\r\n",
                                   "*1\r\n$1\r\nabc", "*1\n$1\r\na\r\n"}) {
        EXPECT_THROW((void)parseCommands(text), std::runtime_error) << text;
    }
    EXPECT_TRUE(parseCommands("").empty());
}

TEST(StoredResource, HasTheFormThatFrontEndAndDaemonShare) {
    const RedisServer server;
    RedisClient client(server);
    client.command("SET", "Array-Member-Sequence-ID", "41");
    client.command("HSET", "&&/c/Old", "gone", "1");
    storeResource(client, "/c", R"({"A":"x\"y","N":{"B":1,"R":{"@odata.id":"/r"}},"&&Raw":"a b",
                                    "L":[{"@odata.id":"/c/1"},{"M":null},"t"]})");
    EXPECT_EQ(client.dumpAll(), "&&/c/L (list)\n"
                                "  [0] = \"&&ObjectRef /c/1\"\n"
                                "  [1] = \"&&Object &&/c/L/42\"\n"
                                "  [2] = \"\\\"t\\\"\"\n"
                                "&&/c/L/42 (hash)\n"
                                "  M = null\n"
                                "&&/c/N (hash)\n"
                                "  \"&&ObjectRef R /r\" = \"\"\n"
                                "  B = 1\n"
                                "/c (hash)\n"
                                "  \"&&Array L &&/c/L\" = \"\"\n"
                                "  \"&&Object N &&/c/N\" = \"\"\n"
                                "  &&Raw = \"a b\"\n"
                                "  A = \"\\\"x\\\\\\\"y\\\"\"\n"
                                "Array-Member-Sequence-ID (string) = 42\n");
}
