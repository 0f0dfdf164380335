// Reading a resource into one document.

#include "core/redis_pipeline.h"
#include "store/key_walk.h"
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

// What "/x" reads as, with nothing logged.
struct Reading {
    const char* name;
    Commands stored;
    const char* document;
};

void PrintTo(const Reading& row, std::ostream* stream) {
    *stream << row.name;
}

class Readings : public ReadResource, public testing::WithParamInterface<Reading> {};

TEST_P(Readings, FollowTheStoredForm) {
    for (const Command& command : GetParam().stored) {
        (void)client.commandList(command);
    }
    EXPECT_EQ(errorsOf([&] { EXPECT_EQ(read("/x"), json::parse(GetParam().document)); }), "");
    EXPECT_EQ(client.command("ECHO", "in step").text, "in step");
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(OneResource, Readings, testing::ValuesIn(std::vector<Reading>{
    {"FieldsAreDecodedByTheirForm",
     {{"HSET", "/x", "Text", R"("a\"b")", "Flag", "true", "Nothing", "null", "Double", "1.5", "Integer", "-3", "Other", "abc", "&&Raw", R"("as it stands")"}},
     R"({"Text":"a\"b","Flag":true,"Nothing":null,"Double":1.5,"Integer":-3,"Other":"abc","&&Raw":"\"as it stands\""})"},
    {"AFieldOfFourTokensIsARawMember",
     {{"HSET", "/x", "&&Note three more words", "the \"value\""}},
     R"({"&&Note three more words":"the \"value\""})"},
    {"AnUnknownKeywordOfThreeTokensIsARawMember",
     {{"HSET", "/x", "&&Thing a b", "v"}},
     R"({"&&Thing a b":"v"})"},
    {"AListEntryOfThreeTokensIsARawString",
     {{"HSET", "/x", "&&Array L &&/x/L", ""}, {"RPUSH", "&&/x/L", "&&Object two words", "&&Foo", "&&ObjectRef /y", "1"}},
     R"({"L":["&&Object two words","&&Foo",{"@odata.id":"/y"},1]})"},
    {"AMissingNestedKeyStaysEmpty",
     {{"HSET", "/x", "&&Object O &&/x/O", "", "&&Array A &&/x/A", ""}},
     R"({"O":{},"A":[]})"},
    {"ANestedKeyOfAnotherTypeCountsAsGone",
     {{"HSET", "/x", "&&Object O &&/x/O", "", "&&Array A &&/x/A", "", "N", "1"}, {"SET", "&&/x/O", "text"}, {"HSET", "&&/x/A", "M", "1"}},
     R"({"O":{},"A":[],"N":1})"},
    {"AKeyNamedAsBothKindsIsReadForTheLaterMarker",
     {{"HSET", "/x", "&&Object A &&/x/A", ""}, {"HSET", "/x", "&&Array A &&/x/A", ""}, {"RPUSH", "&&/x/A", "2", "3"}},
     R"({"A":[2,3]})"},
    {"AListAtTheTopIsAnArray",
     {{"RPUSH", "/x", "1", "\"two\"", "&&Object &&/x/1"}, {"HSET", "&&/x/1", "0", "3"}},
     R"([1,"two",{"0":3}])"},
    {"MembersNamedLikeIndexesStayMembers",
     {{"HSET", "/x", "0", "1", "-", "2", "a/b~c", "3"}},
     R"({"0":1,"-":2,"a/b~c":3})"},
    {"ALaterScalarTakesTheMember",
     {{"HSET", "/x", "&&Object M &&/x/M", ""}, {"HSET", "/x", "M", "5"}, {"HSET", "&&/x/M", "Inner", "1"}},
     R"({"M":5})"},
    {"ALaterMarkerTakesTheMember",
     {{"HSET", "/x", "M", "5"}, {"HSET", "/x", "&&Object M &&/x/M", ""}, {"HSET", "&&/x/M", "Inner", "1"}},
     R"({"M":{"Inner":1}})"},
    {"TwoListsOfOneMemberFollowEachOther",
     {{"HSET", "/x", "&&Array L &&/a", "", "&&Array L &&/b", ""}, {"RPUSH", "&&/a", "&&Object &&/a/1"}, {"RPUSH", "&&/b", "&&Object &&/b/1", "&&Object &&/b/2"},
      {"HSET", "&&/a/1", "N", "1"}, {"HSET", "&&/b/1", "N", "2"}, {"HSET", "&&/b/2", "N", "3"}},
     R"({"L":[{"N":1},{"N":2},{"N":3}]})"},
    {"TwoMarkersOfOneKeyAreBothRead",
     {{"HSET", "/x", "&&Object A &&/k", "", "&&Object B &&/k", ""}, {"HSET", "&&/k", "N", "1"}},
     R"({"A":{"N":1},"B":{"N":1}})"},
}), [](const auto& row) { return std::string(row.param.name); });
// clang-format on

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

TEST_F(ReadResource, DoesNotFollowReferences) {
    client.command("HSET", "/x", "&&ObjectRef Link /y", "");
    client.command("HSET", "/y", "Name", "1", "Other", "2");
    json value;
    EXPECT_EQ(commandsOf([&] { value = read("/x"); }), "TYPE /x\nHGETALL /x\n");
    EXPECT_EQ(value, json::parse(R"({"Link":{"@odata.id":"/y"}})"));
}

TEST_F(ReadResource, AnotherTypeAtTheTopIsMissing) {
    client.command("SET", "/x", "text");
    json value;
    for (const char* uri : {"/x", "/missing"}) {
        EXPECT_EQ(errorsOf([&] { EXPECT_EQ(getResource(context(), uri, value), -2); }), "");
    }
}

TEST_F(ReadResource, AnObjectThatAnUpdateTurnedIntoAnArrayIsRead) {
    ASSERT_EQ(writeResource(context(), "/x", {{"A", {{"N", 1}}}}), STORE_OK);
    ASSERT_EQ(updateResource(context(), "/x", {{"A", {2, 3}}}, nullptr), STORE_OK);
    EXPECT_EQ(client.hash("/x").size(), 2U); // both markers are there
    EXPECT_EQ(errorsOf([&] { EXPECT_EQ(read("/x"), json::parse(R"({"A":[2,3]})")); }), "");
}

TEST_F(ReadResource, AppendsReadCommandsWithoutSending) {
    RedisPipeline commands(context());
    appendReadCommand(commands, {"/key with blank", 0, KeyKind::HASH});
    appendReadCommand(commands, {"/key with blank", 0, KeyKind::LIST});
    EXPECT_EQ(commands.handOver(), 2U);
    EXPECT_EQ(describeCommands(pendingCommands(context())),
              "HGETALL \"/key with blank\"\nLRANGE \"/key with blank\" 0 -1\n");
}

TEST_F(ReadResource, QueuesHashesAndLists) {
    client.command("HSET", "/hash", "N", "1");
    client.command("RPUSH", "/list", "1");
    client.command("SET", "/text", "1");
    KeyList queue;
    EXPECT_EQ(getResourceType(context(), "/hash", queue), 0);
    EXPECT_EQ(getResourceType(context(), "/list", queue), 0);
    EXPECT_EQ(getResourceType(context(), "/text", queue), -2);
    ASSERT_EQ(queue.size(), 2U);
    EXPECT_EQ(queue[0].kind, KeyKind::HASH);
    EXPECT_EQ(queue[0].key, "/hash");
    EXPECT_EQ(queue[1].kind, KeyKind::LIST);
}
