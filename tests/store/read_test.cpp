// Reading a resource into one document.

#include "store/read_passes.h"
#include "store/resource_store.h"
#include "tests/store/store_fixture.h"

using nlohmann::json;

class ReadResource : public StoreFixture {
protected:
    json read(const std::string& uri) {
        json value;
        EXPECT_EQ(getResource(context(), uri, value), STORE_OK);
        return value;
    }
};

TEST_F(ReadResource, DecodesFieldsByTheirForm) {
    client.command("HSET", "/x", "Text", "\"a\\\"b\"", "Flag", "true", "Nothing", "null", "Double",
                   "1.5", "Integer", "-3", "Other", "abc", "&&Raw", "\"as it stands\"");
    EXPECT_EQ(read("/x"),
              json::parse(R"({"Text":"a\"b","Flag":true,"Nothing":null,"Double":1.5,"Integer":-3,
                              "Other":"abc","&&Raw":"\"as it stands\""})"));
}

TEST_F(ReadResource, ReadsOneLevelInOneExchange) {
    client.command("HSET", "/x", "&&Object A &&/x/A", "");
    client.command("HSET", "/x", "&&Array B &&/x/B", "");
    client.command("HSET", "&&/x/A", "Name", "1");
    client.command("RPUSH", "&&/x/B", "&&Object &&/x/B/1", "2");
    client.command("HSET", "&&/x/B/1", "Name", "3");
    json value;
    EXPECT_EQ(commandsOf([&] { value = read("/x"); }), "TYPE /x\n"
                                                       "HGETALL /x\n"
                                                       "HGETALL &&/x/A\n"
                                                       "LRANGE &&/x/B 0 -1\n"
                                                       "HGETALL &&/x/B/1\n");
    EXPECT_EQ(value, json::parse(R"({"A":{"Name":1},"B":[{"Name":3},2]})"));
}

TEST_F(ReadResource, AppendsWithoutSending) {
    ReadEntry entry;
    entry.key = "/key with blank";
    appendReadCommand(context(), entry);
    entry.kind = KeyKind::LIST;
    appendReadCommand(context(), entry);
    EXPECT_EQ(describeCommands(pendingCommands(context())),
              "HGETALL \"/key with blank\"\nLRANGE \"/key with blank\" 0 -1\n");
}

TEST_F(ReadResource, DoesNotFollowReferences) {
    client.command("HSET", "/x", "&&ObjectRef Link /y", "");
    client.command("HSET", "/y", "Name", "1", "Other", "2");
    json value;
    EXPECT_EQ(commandsOf([&] { value = read("/x"); }), "TYPE /x\nHGETALL /x\n");
    EXPECT_EQ(value, json::parse(R"({"Link":{"@odata.id":"/y"}})"));
}

TEST_F(ReadResource, AFieldOfFourTokensIsARawMember) {
    client.command("HSET", "/x", "&&Note three more words", "the \"value\"");
    EXPECT_EQ(read("/x"), (json{{"&&Note three more words", "the \"value\""}}));
}

TEST_F(ReadResource, AnUnknownKeywordOfThreeTokensIsARawMember) {
    client.command("HSET", "/x", "&&Thing a b", "v");
    EXPECT_EQ(read("/x"), (json{{"&&Thing a b", "v"}}));
}

TEST_F(ReadResource, AListEntryOfThreeTokensIsARawString) {
    client.command("HSET", "/x", "&&Array L &&/x/L", "");
    client.command("RPUSH", "&&/x/L", "&&Object two words", "&&Foo", "&&ObjectRef /y", "1");
    EXPECT_EQ(read("/x"),
              json::parse(R"({"L":["&&Object two words","&&Foo",{"@odata.id":"/y"},1]})"));
}

TEST_F(ReadResource, AnotherTypeAtTheTopIsMissing) {
    client.command("SET", "/x", "text");
    json value;
    EXPECT_EQ(errorsOf([&] { EXPECT_EQ(getResource(context(), "/x", value), -2); }), "");
    EXPECT_EQ(errorsOf([&] { EXPECT_EQ(getResource(context(), "/missing", value), -2); }), "");
}

TEST_F(ReadResource, QuotesAndBackslashesComeBack) {
    client.command("HSET", "/x", "M", R"("a\"b")");
    EXPECT_EQ(read("/x")["M"].get<std::string>(), "a\"b");
}

TEST_F(ReadResource, AMissingNestedKeyStaysEmpty) {
    client.command("HSET", "/x", "&&Object O &&/x/O", "", "&&Array A &&/x/A", "");
    EXPECT_EQ(read("/x"), json::parse(R"({"O":{},"A":[]})"));
}

TEST_F(ReadResource, AListAtTheTopIsAnArray) {
    client.command("RPUSH", "/x", "1", "\"two\"", "&&Object &&/x/1");
    client.command("HSET", "&&/x/1", "0", "3");
    EXPECT_EQ(read("/x"), json::parse(R"([1,"two",{"0":3}])"));
}

TEST_F(ReadResource, MembersNamedLikeIndexesStayMembers) {
    client.command("HSET", "/x", "0", "1", "-", "2", "a/b~c", "3");
    EXPECT_EQ(read("/x"), json::parse(R"({"0":1,"-":2,"a/b~c":3})"));
}

TEST_F(ReadResource, TheLaterFieldOfAMemberCounts) {
    client.command("HSET", "/x", "&&Object M &&/x/M", "");
    client.command("HSET", "/x", "M", "5");
    client.command("HSET", "&&/x/M", "Inner", "1");
    EXPECT_EQ(read("/x"), json::parse(R"({"M":5})"));
    client.command("DEL", "/x");
    client.command("HSET", "/x", "M", "5");
    client.command("HSET", "/x", "&&Object M &&/x/M", "");
    EXPECT_EQ(read("/x"), json::parse(R"({"M":{"Inner":1}})"));
}

TEST_F(ReadResource, TwoListsOfOneMemberFollowEachOther) {
    client.command("HSET", "/x", "&&Array L &&/a", "", "&&Array L &&/b", "");
    client.command("RPUSH", "&&/a", "&&Object &&/a/1");
    client.command("RPUSH", "&&/b", "&&Object &&/b/1", "&&Object &&/b/2");
    client.command("HSET", "&&/a/1", "N", "1");
    client.command("HSET", "&&/b/1", "N", "2");
    client.command("HSET", "&&/b/2", "N", "3");
    EXPECT_EQ(read("/x"), json::parse(R"({"L":[{"N":1},{"N":2},{"N":3}]})"));
}

TEST_F(ReadResource, TwoMarkersOfOneKeyAreBothRead) {
    client.command("HSET", "/x", "&&Object A &&/k", "", "&&Object B &&/k", "");
    client.command("HSET", "&&/k", "N", "1");
    EXPECT_EQ(read("/x"), json::parse(R"({"A":{"N":1},"B":{"N":1}})"));
}

TEST_F(ReadResource, FailsAtANestedKeyOfAnotherType) {
    client.command("HSET", "/x", "&&Object O &&/x/O", "", "&&Object P &&/x/P", "");
    client.command("SET", "&&/x/O", "text");
    json value;
    EXPECT_EQ(errorsOf([&] { EXPECT_EQ(getResource(context(), "/x", value), -2); }),
              "[ERROR] Gets redis resource failed. RESOURCE=&&/x/O\n");
    EXPECT_EQ(client.command("PING").text, "PONG");
}

TEST_F(ReadResource, FailsWithoutAServer) {
    server.stop();
    json value;
    EXPECT_EQ(errorsOf([&] { EXPECT_EQ(getResource(context(), "/x", value), -3); }),
              "[ERROR] Gets resource type failed.\n");
}

TEST_F(ReadResource, FailsWhenTheServerGoesBetweenTypeAndContent) {
    client.command("HSET", "/x", "N", "1");
    ReadQueue queue;
    ASSERT_EQ(getResourceType(context(), "/x", queue), STORE_OK);
    server.stop();
    EXPECT_EQ(errorsOf([&] {
                  EXPECT_EQ(readQueued(context(), queue,
                                       [](const ReadEntry&, const redisReply&) { return 0; }),
                            -2);
              }),
              "[ERROR] Redis get reply failed!\n");
}

TEST_F(ReadResource, QueuesHashesAndLists) {
    client.command("HSET", "/hash", "N", "1");
    client.command("RPUSH", "/list", "1");
    client.command("SET", "/text", "1");
    ReadQueue queue;
    EXPECT_EQ(getResourceType(context(), "/hash", queue), 0);
    EXPECT_EQ(getResourceType(context(), "/list", queue), 0);
    EXPECT_EQ(getResourceType(context(), "/text", queue), -2);
    ASSERT_EQ(queue.size(), 2U);
    EXPECT_EQ(queue[0].kind, KeyKind::HASH);
    EXPECT_EQ(queue[0].key, "/hash");
    EXPECT_EQ(queue[1].kind, KeyKind::LIST);
}
