// Writing a document in the place of a resource.

#include "store/resource_store.h"
#include "store/write_commands.h"
#include "tests/store/store_fixture.h"

using nlohmann::json;

class WriteResource : public StoreFixture {
protected:
    // The commands that store the value at "/x", as they are appended; ids start at 1.
    std::string appended(const json& value) {
        std::int64_t id = 1;
        const int count = appendWriteCommands(context(), "/x", value, id);
        const Commands commands = pendingCommands(context());
        EXPECT_EQ(commands.size(), static_cast<std::size_t>(count));
        return describeCommands(commands);
    }
};

struct Appending {
    const char* name;
    const char* document;
    std::string commands;
};

void PrintTo(const Appending& row, std::ostream* stream) {
    *stream << row.name;
}

class Appendings : public WriteResource, public testing::WithParamInterface<Appending> {};

TEST_P(Appendings, AreTheCommandsOfTheStoredForm) {
    EXPECT_EQ(appended(json::parse(GetParam().document)), GetParam().commands);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(OneDocument, Appendings, testing::ValuesIn(std::vector<Appending>{
    {"DepthFirstInMemberOrder", R"({"B":{"C":[0,[1],3,{"D":2}]},"A":"t","E":true})",
     "HSET /x A \"\\\"t\\\"\"\n"
     "HSET /x \"&&Object B &&/x/B\" \"\"\n"
     "HSET &&/x/B \"&&Array C &&/x/B/C\" \"\"\n"
     "RPUSH &&/x/B/C 0\n"
     "RPUSH &&/x/B/C \"&&Array &&/x/B/C/1\"\n"
     "RPUSH &&/x/B/C/1 1\n"
     "RPUSH &&/x/B/C 3\n"
     "RPUSH &&/x/B/C \"&&Object &&/x/B/C/2\"\n"
     "HSET &&/x/B/C/2 D 2\n"
     "HSET /x E true\n"},
    {"EmptyStructuresHaveOnlyTheirMarker", R"({"A":[],"O":{}})",
     "HSET /x \"&&Array A &&/x/A\" \"\"\nHSET /x \"&&Object O &&/x/O\" \"\"\n"},
    {"AReferenceToNothingIsAnObjectOfItsOwn", R"({"Link":{"@odata.id":""}})",
     "HSET /x \"&&ObjectRef Link \" \"\"\nHSET &&/x/Link @odata.id \"\\\"\\\"\"\n"},
    {"MarkedNamesKeepRawStringsAndDropOtherScalars", R"({"&&Foo":"bar \"baz","&&Three":3,"&&Null":null})",
     "HSET /x &&Foo \"bar \\\"baz\"\n"},
    {"MarkedNamesKeepObjectsAndArrays", R"({"&&L":[1],"&&O":{"N":1}})",
     "HSET /x \"&&Array &&L &&/x/&&L\" \"\"\nRPUSH &&/x/&&L 1\nHSET /x \"&&Object &&O &&/x/&&O\" \"\"\nHSET &&/x/&&O N 1\n"},
    {"MarkedStringsWithABlankArePushedRaw", R"(["&&Foo bar","&&Foo","a",null,1.5])",
     "RPUSH /x \"&&Foo bar\"\nRPUSH /x \"\\\"&&Foo\\\"\"\nRPUSH /x \"\\\"a\\\"\"\nRPUSH /x null\nRPUSH /x 1.5\n"},
    {"AScalarAtTheTopStoresNothing", "5", ""},
    {"NullAtTheTopStoresNothing", "null", ""},
}), [](const auto& row) { return std::string(row.param.name); });
// clang-format on

TEST_F(WriteResource, StoresTheCollectionOfTwoMembers) {
    const std::string uri = "/redfish/v1/CertificateService/CertificateCollection";
    const json document = {{"@odata.id", uri},
                           {"Members", json::array({{{"@odata.id", uri + "/1"}}, {{"Name", "x"}}})},
                           {"Members@odata.count", 2}};
    setCounter("41");
    EXPECT_EQ(commandsOf([&] { EXPECT_EQ(writeResource(context(), uri, document), 0); }),
              "TYPE " + uri +
                  "\n"
                  "INCR Array-Member-Sequence-ID\n"
                  "HSET " +
                  uri + " @odata.id \"\\\"" + uri + "\\\"\"\n" + "HSET " + uri +
                  " \"&&Array Members &&" + uri + "/Members\" \"\"\n" + "RPUSH &&" + uri +
                  "/Members \"&&ObjectRef " + uri + "/1\"\n" + "RPUSH &&" + uri +
                  "/Members \"&&Object &&" + uri + "/Members/42\"\n" + "HSET &&" + uri +
                  "/Members/42 Name \"\\\"x\\\"\"\n" + "HSET " + uri + " Members@odata.count 2\n" +
                  "SET Array-Member-Sequence-ID 42\n");
    EXPECT_EQ(client.dumpAll(), "&&" + uri +
                                    "/Members (list)\n"
                                    "  [0] = \"&&ObjectRef " +
                                    uri +
                                    "/1\"\n"
                                    "  [1] = \"&&Object &&" +
                                    uri +
                                    "/Members/42\"\n"
                                    "&&" +
                                    uri +
                                    "/Members/42 (hash)\n"
                                    "  Name = \"\\\"x\\\"\"\n" +
                                    uri +
                                    " (hash)\n"
                                    "  \"&&Array Members &&" +
                                    uri +
                                    "/Members\" = \"\"\n"
                                    "  @odata.id = \"\\\"" +
                                    uri +
                                    "\\\"\"\n"
                                    "  Members@odata.count = 2\n"
                                    "Array-Member-Sequence-ID (string) = 42\n");
}

TEST_F(WriteResource, RemovesWhatWasThere) {
    client.command("HSET", "/x", "Old", "1", "&&Object O &&/x/O", "");
    client.command("HSET", "&&/x/O", "N", "1");
    EXPECT_EQ(commandsOf([&] {
                  EXPECT_EQ(writeResource(context(), "/x", {{"New", 1}}), 0);
              }),
              "TYPE /x\n"
              "TYPE /x\n"
              "HGETALL /x\n"
              "HGETALL &&/x/O\n"
              "UNLINK /x\n"
              "UNLINK &&/x/O\n"
              "INCR Array-Member-Sequence-ID\n"
              "HSET /x New 1\n");
    EXPECT_EQ(client.keys(), (std::vector<std::string>{"/x", "Array-Member-Sequence-ID"}));
}

TEST_F(WriteResource, ReplacesAList) {
    client.command("RPUSH", "/x", "1", "2");
    EXPECT_EQ(writeResource(context(), "/x", json::array({3})), STORE_OK);
    EXPECT_EQ(client.list("/x"), std::vector<std::string>{"3"});
}

TEST_F(WriteResource, AnEmptyObjectLeavesNoKey) {
    EXPECT_EQ(commandsOf([&] { EXPECT_EQ(writeResource(context(), "/x", json::object()), 0); }),
              "TYPE /x\nINCR Array-Member-Sequence-ID\n");
    EXPECT_EQ(client.keys(), std::vector<std::string>{"Array-Member-Sequence-ID"});
}

TEST_F(WriteResource, AnotherTypeIsNotRemovedAndOnlyReported) {
    client.command("SET", "/x", "text");
    EXPECT_EQ(errorsOf([&] {
                  EXPECT_EQ(writeResource(context(), "/x", {{"N", 1}}), 0);
              }),
              "[ERROR] Updates property reply type is incorrect.\n");
    EXPECT_EQ(client.command("GET", "/x").text, "text");
}

TEST_F(WriteResource, TwoArraysOfTwoObjectsUseFourIds) {
    setCounter("10");
    const json object = {{"N", 1}};
    const json document = {{"A", json::array({object, object})},
                           {"B", json::array({object, object})}};
    EXPECT_EQ(writeResource(context(), "/x", document), 0);
    EXPECT_EQ(client.list("&&/x/A"),
              (std::vector<std::string>{"&&Object &&/x/A/11", "&&Object &&/x/A/12"}));
    EXPECT_EQ(client.list("&&/x/B"),
              (std::vector<std::string>{"&&Object &&/x/B/13", "&&Object &&/x/B/14"}));
    EXPECT_EQ(client.command("GET", "Array-Member-Sequence-ID").text, "14");
}

TEST_F(WriteResource, EmptyStructuresComeBackEmpty) {
    EXPECT_EQ(writeResource(context(), "/y", json::parse(R"({"A":[],"O":{}})")), 0);
    json value;
    EXPECT_EQ(getResource(context(), "/y", value), 0);
    EXPECT_EQ(value, json::parse(R"({"A":[],"O":{}})"));
}

TEST_F(WriteResource, ReferencesAreNotFollowed) {
    client.command("HSET", "/y", "Name", "1");
    EXPECT_EQ(writeResource(context(), "/x", {{"Link", {{"@odata.id", "/y"}}}}), 0);
    EXPECT_EQ(client.hash("/y").size(), 1U);
    EXPECT_EQ(client.hash("/x").count("&&ObjectRef Link /y"), 1U);
    EXPECT_EQ(client.command("EXISTS", "&&/x/Link").integer, 0);
}

TEST_F(WriteResource, InvalidUtf8IsSkipped) {
    std::string commands;
    const std::string errors = errorsOf([&] {
        commands =
            appended({{"Bad", "\xff"}, {"&&Bad", "\xff"}, {"Good", json::array({"\xff", 1})}});
    });
    EXPECT_EQ(commands, "HSET /x \"&&Array Good &&/x/Good\" \"\"\nRPUSH &&/x/Good 1\n");
    EXPECT_NE(errors.find("[ERROR] Dump JSON object error. EXCEPTION="), std::string::npos);
}

TEST_F(WriteResource, PercentSignsAndBlanksArriveLiterally) {
    EXPECT_EQ(writeResource(context(), "/x%s %d", {{"N%n ame", "%s%s%n 100%"}}), 0);
    EXPECT_EQ(client.hash("/x%s %d")["N%n ame"], "\"%s%s%n 100%\"");
}

TEST_F(WriteResource, AResourceThatMayNotBeReadIsNotReplaced) {
    client.command("HSET", "/x", "Old", "1", "&&Object O &&/x/O", "");
    client.command("ACL", "SETUSER", "default", "-hgetall");
    EXPECT_EQ(errorsOf([&] {
                  EXPECT_EQ(writeResource(context(), "/x", {{"New", 1}}), STORE_MISSING);
              }),
              "[ERROR] Gets redis resource failed. RESOURCE=/x\n"
              "[ERROR] Writes resource failed. URI=/x, RESULT_CODE=-2\n");
    EXPECT_EQ(client.command("HEXISTS", "/x", "Old").integer, 1);
}

TEST_F(WriteResource, AMemberNamedLikeAMarkerIsThatMarker) {
    EXPECT_EQ(writeResource(context(), "/x", {{"&&ObjectRef Collection /y", ""}}), 0);
    EXPECT_EQ(client.hash("/x"),
              (std::map<std::string, std::string>{{"&&ObjectRef Collection /y", ""}}));
    json value;
    EXPECT_EQ(getResource(context(), "/x", value), 0);
    EXPECT_EQ(value, json::parse(R"({"Collection":{"@odata.id":"/y"}})"));
}

TEST_F(WriteResource, MarkedStringsReadBackByTheRulesOfMarkers) {
    const json list = {"&&Foo bar", "&&Foo", "&&Foo bar baz", "&&ObjectRef /y", "&&Object &&/k"};
    client.command("HSET", "&&/k", "N", "1");
    EXPECT_EQ(writeResource(context(), "/x", {{"L", list}, {"&&Raw", "bar \"baz\\"}}), 0);
    json value;
    EXPECT_EQ(getResource(context(), "/x", value), 0);
    EXPECT_EQ(value, json::parse(R"({"L":["&&Foo bar","&&Foo","&&Foo bar baz",
                                          {"@odata.id":"/y"},{"N":1}],
                                     "&&Raw":"bar \"baz\\"})"));
}

TEST_F(WriteResource, ElementKeysStartAgainBehindTheLargestId) {
    setCounter("9223372036854775806");
    EXPECT_EQ(writeResource(context(), "/x", {{{"N", 1}}, {{"N", 2}}, {{"N", 3}}}), 0);
    EXPECT_EQ(client.list("/x"), (std::vector<std::string>{"&&Object &&/x/9223372036854775807",
                                                           "&&Object &&/x/1", "&&Object &&/x/2"}));
    EXPECT_EQ(client.command("GET", "Array-Member-Sequence-ID").text, "2");
}
