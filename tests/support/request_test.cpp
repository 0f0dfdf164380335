// The front end's part: stored forms and the road of a request.

#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"
#include "tests/support/request.h"

#include <gtest/gtest.h>

#include <thread>

TEST(Request, StoresNestedDocuments) {
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

TEST(Request, ReadsTheStatusWithItsMessage) {
    const RedisServer server;
    RedisClient client(server);
    client.command("HSET", "s/1", "&&ReturnStatus", "FAILURE", "&&ExtendedInfo", "s/ExtendedInfo");
    client.command("RPUSH", "s/ExtendedInfo", "\"s/ExtendedInfo/1\"");
    client.command("HSET", "s/ExtendedInfo/1", "&&MessageId", "Base.1.9.X", "&&MessageArgs",
                   "s/ExtendedInfo/1/MessageArgs");
    client.command("RPUSH", "s/ExtendedInfo/1/MessageArgs", "\"a\\\"b\"", "\"c\"");
    const FrontEndAnswer answer = readStatus(client, "s/1");
    EXPECT_EQ(answer.status.at("&&ReturnStatus"), "FAILURE");
    EXPECT_EQ(answer.messageId, "Base.1.9.X");
    EXPECT_EQ(answer.messageArgs, (std::vector<std::string>{"a\"b", "c"}));
    EXPECT_TRUE(answer.relatedProperties.empty());
    EXPECT_FALSE(answer.reply);
}

TEST(Request, GoesToItsChannelAndTakesTheReply) {
    const RedisServer server;
    RedisClient listener(server);
    listener.command("SUBSCRIBE", channelName(RequestKind::ACTION));
    FrontEndRequest request;
    request.kind = RequestKind::ACTION;
    request.targetUri = "/target";
    request.body = R"({"A":1})";
    request.fields = {{"&&Task", "/tasks/1"}};
    std::string message;
    std::thread daemon([&] {
        RedisAnswer published;
        ASSERT_TRUE(listener.nextMessage(published, 60));
        message = published.texts().back();
        RedisClient client(server);
        client.command("HSET", request.statusKey, "&&ReturnStatus", "OK");
        client.command("PUBLISH", request.returnChannel, request.statusKey);
    });
    const FrontEndAnswer answer = sendRequest(server, request);
    daemon.join();
    EXPECT_EQ(message, "requests/1 status/1/result");
    EXPECT_EQ(answer.reply, "status/1/result");
    EXPECT_EQ(answer.status, (std::map<std::string, std::string>{{"&&ReturnStatus", "OK"}}));
    RedisClient client(server);
    EXPECT_EQ(client.hash("requests/1").at("&&Task"), "/tasks/1");
    EXPECT_EQ(client.hash("requests/1/body").at("A"), "1");
    request.kind = RequestKind::CREATE;
    EXPECT_THROW((void)sendRequest(server, request), std::runtime_error);
}
