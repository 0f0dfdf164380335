// Merging a document into a stored resource.

#include "store/resource_store.h"
#include "store/update_resource.h"
#include "store/update_tree.h"
#include "tests/store/store_fixture.h"

using nlohmann::json;
using Entries = std::vector<std::string>;

namespace {

json configuration(int style, double maxSize = 0, bool fillNull = false) {
    return {{"ArrayStyle", style}, {"ArrayMaxSize", maxSize}, {"ArrayNullElement", fillNull}};
}

} // namespace

class UpdateResource : public StoreFixture {
protected:
    void storeList(const Entries& entries) {
        client.command("DEL", "&&/x/L");
        client.command("HSET", "/x", "&&Array L &&/x/L", "");
        for (const std::string& entry : entries) {
            client.command("RPUSH", "&&/x/L", entry);
        }
    }

    // The list after an update of member L.
    Entries merged(const Entries& stored, const json& list, const json& arrayConfiguration) {
        storeList(stored);
        (void)errorsOf([&] {
            EXPECT_EQ(updateResource(context(), "/x", {{"L", list}}, arrayConfiguration), 0);
        });
        return client.list("&&/x/L");
    }

    std::string refusal(const json& arrayConfiguration) {
        return errorsOf([&] {
            EXPECT_EQ(updateResource(context(), "/x", {{"N", 1}}, arrayConfiguration), -9);
        });
    }
};

TEST_F(UpdateResource, WithoutConfigurationMergesObjectsAndReplacesArrays) {
    client.command("HSET", "/x", "Kept", "1", "Changed", "2", "&&Object O &&/x/O", "");
    client.command("HSET", "&&/x/O", "Kept", "3", "&&Array L &&/x/O/L", "");
    client.command("RPUSH", "&&/x/O/L", "&&Object &&/x/O/L/1", "old");
    client.command("HSET", "&&/x/O/L/1", "N", "1");
    setCounter("8");
    const json change = {{"Changed", 5}, {"O", {{"L", json::array({"new"})}, {"More", 6}}}};
    EXPECT_EQ(commandsOf([&] { EXPECT_EQ(updateResource(context(), "/x", change, nullptr), 0); }),
              "TYPE /x/O/L\n"
              "TYPE &&/x/O/L\n"
              "LRANGE &&/x/O/L 0 -1\n"
              "HGETALL &&/x/O/L/1\n"
              "UNLINK &&/x/O/L\n"
              "UNLINK &&/x/O/L/1\n"
              "INCR Array-Member-Sequence-ID\n"
              "HSET /x Changed 5\n"
              "HSET /x \"&&Object O &&/x/O\" \"\"\n"
              "HSET &&/x/O \"&&Array L &&/x/O/L\" \"\"\n"
              "RPUSH &&/x/O/L \"\\\"new\\\"\"\n"
              "HSET &&/x/O More 6\n");
    json value;
    EXPECT_EQ(getResource(context(), "/x", value), 0);
    EXPECT_EQ(value, json::parse(R"({"Kept":1,"Changed":5,"O":{"Kept":3,"More":6,"L":["new"]}})"));
}

TEST_F(UpdateResource, WithoutConfigurationRebuildsAnArrayAtTheTop) {
    client.command("RPUSH", "/x", "1", "2");
    EXPECT_EQ(updateResource(context(), "/x", json::array({3}), nullptr), 0);
    EXPECT_EQ(client.list("/x"), Entries{"3"});
    EXPECT_EQ(removeReplacedMembers(context(), "/missing", json::array()), -8);
    EXPECT_EQ(removeReplacedMembers(context(), "/x", 5), 0);
}

TEST_F(UpdateResource, WithoutConfigurationAScalarLeavesTheOldObjectInPlace) {
    client.command("HSET", "/x", "&&Object O &&/x/O", "");
    client.command("HSET", "&&/x/O", "N", "1");
    EXPECT_EQ(updateResource(context(), "/x", {{"O", 5}}, nullptr), 0);
    EXPECT_EQ(client.hash("/x"),
              (std::map<std::string, std::string>{{"&&Object O &&/x/O", ""}, {"O", "5"}}));
    EXPECT_EQ(client.hash("&&/x/O").size(), 1U);
}

TEST_F(UpdateResource, StyleZeroIsNoConfiguration) {
    storeList({"1", "2"});
    EXPECT_EQ(errorsOf([&] {
                  EXPECT_EQ(updateResource(context(), "/x", {{"L", {9}}}, configuration(0)), 0);
              }),
              "[INFO] Input Array style =0, maxSize=0, fill null element=0\n");
    EXPECT_EQ(client.list("&&/x/L"), Entries{"9"});
}

TEST_F(UpdateResource, TellsItsConfiguration) {
    EXPECT_EQ(
        errorsOf([&] {
            EXPECT_EQ(updateResource(context(), "/x", {{"N", 1}}, configuration(3, 2.5, true)), 0);
        }),
        "[INFO] Input Array style =3, maxSize=2.5, fill null element=1\n");
}

TEST_F(UpdateResource, RefusesAnUnusableConfiguration) {
    const std::string unreadable = "[ERROR] Reads array configuration failed!\n";
    EXPECT_EQ(refusal({{"ArrayStyle", 1}, {"ArrayMaxSize", 0}}), unreadable);
    EXPECT_EQ(refusal({{"ArrayStyle", 1}, {"ArrayNullElement", true}}), unreadable);
    EXPECT_EQ(refusal({{"ArrayMaxSize", 1}, {"ArrayNullElement", true}}), unreadable);
    EXPECT_EQ(refusal({{"ArrayStyle", "1"}, {"ArrayMaxSize", 0}, {"ArrayNullElement", true}}),
              unreadable);
    EXPECT_EQ(refusal({{"ArrayStyle", 1}, {"ArrayMaxSize", 0}, {"ArrayNullElement", 1}}),
              unreadable);
    EXPECT_EQ(refusal(json::object()), unreadable);
    EXPECT_EQ(refusal("text"), unreadable);
    EXPECT_EQ(refusal(configuration(4)), "[ERROR] Array style is incorrect.\n");
    EXPECT_EQ(refusal(configuration(-1)), "[ERROR] Array style is incorrect.\n");
    EXPECT_TRUE(client.keys().empty());
    std::int64_t id = 1;
    EXPECT_EQ(updateResourceTree(context(), "/x", {{"N", 1}}, id, configuration(4)), -9);
}

TEST_F(UpdateResource, MembersOfObjectsAreWrittenOneByOne) {
    setCounter("4");
    const json change =
        json::parse(R"({"A":1,"&&Raw":"r w","&&Drop":2,"Link":{"@odata.id":"/y"},"O":{"N":"n"}})");
    EXPECT_EQ(commandsOf(
                  [&] { EXPECT_EQ(updateResource(context(), "/x", change, configuration(1)), 0); }),
              "INCR Array-Member-Sequence-ID\n"
              "HSET /x &&Raw \"r w\"\n"
              "HSET /x A 1\n"
              "HSET /x \"&&ObjectRef Link /y\" \"\"\n"
              "HSET &&/x/Link @odata.id \"\\\"/y\\\"\"\n"
              "HSET /x \"&&Object O &&/x/O\" \"\"\n"
              "HSET &&/x/O N \"\\\"n\\\"\"\n");
}

TEST_F(UpdateResource, ListsAreMergedInTheGivenOrderOfCommands) {
    storeList({"1", "&&Object &&/x/L/7", "3"});
    client.command("HSET", "&&/x/L/7", "N", "1");
    setCounter("7");
    const json change = {{"L", json::array({nullptr, {{"M", 2}}, 9, {{"New", 3}}})}};
    EXPECT_EQ(commandsOf([&] {
                  EXPECT_EQ(updateResource(context(), "/x", change, configuration(1, 5)), 0);
              }),
              "INCR Array-Member-Sequence-ID\n"
              "HSET /x \"&&Array L &&/x/L\" \"\"\n"
              "LRANGE &&/x/L 0 -1\n"
              "LSET &&/x/L 0 ToDelete\n"
              "HSET &&/x/L/7 M 2\n"
              "LSET &&/x/L 2 9\n"
              "RPUSH &&/x/L \"&&Object &&/x/L/8\"\n"
              "HSET &&/x/L/8 New 3\n"
              "LREM &&/x/L 0 ToDelete\n"
              "SET Array-Member-Sequence-ID 8\n");
    EXPECT_EQ(client.list("&&/x/L"), (Entries{"&&Object &&/x/L/7", "9", "&&Object &&/x/L/8"}));
    EXPECT_EQ(client.hash("&&/x/L/7").size(), 2U);
}

TEST_F(UpdateResource, AnEmptyArrayLeavesTheListAlone) {
    for (const int style : {1, 2, 3}) {
        EXPECT_EQ(merged({"1", "2"}, json::array(), configuration(style)), (Entries{"1", "2"}));
    }
    EXPECT_EQ(merged({"1"}, json::array(), configuration(1, 3, true)),
              (Entries{"1", "null", "null"}));
}

TEST_F(UpdateResource, StyleThreeKeepsSlotsAsNull) {
    const json list = {1, nullptr};
    EXPECT_EQ(merged({"7", "8", "9"}, list, configuration(3, 4)), (Entries{"1", "null", "null"}));
    EXPECT_EQ(merged({"7", "8", "9"}, list, configuration(3, 4, true)),
              (Entries{"1", "null", "null", "null"}));
    EXPECT_EQ(merged({"7", "8", "9"}, list, configuration(3)), (Entries{"1", "null", "null"}));
}

TEST_F(UpdateResource, StyleOneClosesUpBehindANull) {
    EXPECT_EQ(merged({"7", "8", "9"}, {1, nullptr, 3}, configuration(1)), (Entries{"1", "3"}));
    EXPECT_EQ(merged({"7", "8", "9"}, {1}, configuration(1)), Entries{"1"});
    EXPECT_EQ(merged({"7", "8", "9"}, {nullptr, nullptr, 3, 4}, configuration(1)),
              (Entries{"3", "4"}));
}

TEST_F(UpdateResource, StyleTwoTakesTheNewLength) {
    EXPECT_EQ(merged({"7", "8", "9"}, {1}, configuration(2)), Entries{"1"});
    EXPECT_EQ(merged({"7"}, {1, 2, 3}, configuration(2, 0, true)), (Entries{"1", "2", "3"}));
    EXPECT_EQ(merged({"7", "8", "9"}, {1, 2, 3}, configuration(2, 2)), (Entries{"1", "2"}));
    EXPECT_EQ(merged({"7", "8", "9"}, {1, nullptr, 3}, configuration(2)), (Entries{"1", "3"}));
}

TEST_F(UpdateResource, WithoutAMaximumNothingIsAppended) {
    EXPECT_EQ(merged({"7"}, {1, 2, 3}, configuration(1)), Entries{"1"});
    EXPECT_EQ(merged({}, {1}, configuration(1)), Entries{});
    EXPECT_EQ(merged({}, {1}, configuration(2)), Entries{"1"});
}

TEST_F(UpdateResource, ElementsBeyondTheMaximumOverflow) {
    EXPECT_EQ(merged({"7"}, {1, 2, 3, 4}, configuration(1, 3)), (Entries{"1", "2", "3"}));
    // An overflowed list is not filled.
    EXPECT_EQ(merged({"7"}, {1, nullptr, 3, 4}, configuration(3, 2, true)), (Entries{"1", "null"}));
}

TEST_F(UpdateResource, AMaximumBelowTheCurrentLengthSkipsTheList) {
    for (const int style : {1, 3}) {
        storeList({"7", "8", "9"});
        const std::string errors = errorsOf([&] {
            EXPECT_EQ(
                updateResource(context(), "/x", {{"L", {1}}, {"N", 5}}, configuration(style, 2)),
                0);
        });
        EXPECT_NE(errors.find("[ERROR] Input Max array size is smaller than current size. Skips "
                              "update action. Resource=&&/x/L\n"),
                  std::string::npos);
        EXPECT_EQ(client.list("&&/x/L"), (Entries{"7", "8", "9"}));
        EXPECT_EQ(client.hash("/x")["N"], "5");
    }
}

TEST_F(UpdateResource, ANullSlotIsFilled) {
    setCounter("20");
    EXPECT_EQ(merged({"null", "2"}, {{{"N", 1}}, 5}, configuration(3)),
              (Entries{"&&Object &&/x/L/21", "5"}));
    EXPECT_EQ(client.hash("&&/x/L/21")["N"], "1");
    EXPECT_EQ(merged({"null"}, {7}, configuration(3)), Entries{"7"});
}

TEST_F(UpdateResource, AReferenceElementIsAMarkerAndAHash) {
    setCounter("20");
    EXPECT_EQ(merged({}, {{{"@odata.id", "/y"}}}, configuration(2)), Entries{"&&ObjectRef /y"});
    EXPECT_EQ(client.hash("&&/x/L/21")["@odata.id"], "\"/y\"");
}

TEST_F(UpdateResource, AStoredReferenceIsReplacedAndItsTargetLeftAlone) {
    client.command("HSET", "/y", "N", "1");
    setCounter("20");
    EXPECT_EQ(merged({"&&ObjectRef /y"}, {{{"@odata.id", "/z"}}}, configuration(1)),
              Entries{"&&ObjectRef /z"});
    EXPECT_EQ(client.hash("/y").size(), 1U);
}

TEST_F(UpdateResource, AScalarReplacesAMarkerAndLeavesItsHash) {
    client.command("HSET", "&&/x/L/7", "N", "1");
    EXPECT_EQ(merged({"&&Object &&/x/L/7"}, {5}, configuration(1)), Entries{"5"});
    EXPECT_EQ(client.hash("&&/x/L/7").size(), 1U);
}

TEST_F(UpdateResource, AStructureReplacesAScalar) {
    setCounter("20");
    EXPECT_EQ(merged({"\"two words\""}, {{{"N", 1}}}, configuration(1)),
              Entries{"&&Object &&/x/L/21"});
    EXPECT_EQ(client.hash("&&/x/L/21")["N"], "1");
}

TEST_F(UpdateResource, WhatADeletedElementHeldGoesWithIt) {
    client.command("HSET", "&&/x/L/7", "N", "1");
    client.command("HSET", "&&/x/L/8", "N", "1");
    EXPECT_EQ(merged({"&&Object &&/x/L/7", "&&Object &&/x/L/8"}, {nullptr}, configuration(1)),
              Entries{});
    EXPECT_EQ(client.command("EXISTS", "&&/x/L/7", "&&/x/L/8").integer, 0);
    client.command("HSET", "&&/x/L/9", "N", "1");
    EXPECT_EQ(merged({"1", "&&Object &&/x/L/9"}, {2}, configuration(3)), (Entries{"2", "null"}));
    EXPECT_EQ(client.command("EXISTS", "&&/x/L/9").integer, 0);
}

TEST_F(UpdateResource, AnObjectWithoutMembersLeavesItsSlot) {
    client.command("HSET", "&&/x/L/7", "N", "1");
    EXPECT_EQ(
        merged({"&&Object &&/x/L/7", "2"}, json::array({json::object(), 3}), configuration(1)),
        (Entries{"&&Object &&/x/L/7", "3"}));
    EXPECT_EQ(client.hash("&&/x/L/7")["N"], "1");
    client.command("RPUSH", "&&/x/L/8", "1");
    EXPECT_EQ(
        merged({"&&Array &&/x/L/8"}, json::array({json::object()}), configuration(1, 2, true)),
        (Entries{"&&Array &&/x/L/8", "null"}));
    EXPECT_EQ(client.list("&&/x/L/8"), (Entries{"1", "null"}));
    // Behind the end it is an element like any other.
    setCounter("30");
    EXPECT_EQ(merged({}, json::array({json::object()}), configuration(2)),
              Entries{"&&Object &&/x/L/31"});
}

TEST_F(UpdateResource, NestedListsFollowTheSameConfiguration) {
    client.command("RPUSH", "&&/x/L/7", "1", "2", "3");
    EXPECT_EQ(merged({"&&Array &&/x/L/7"}, {{nullptr, 5}}, configuration(1)),
              Entries{"&&Array &&/x/L/7"});
    EXPECT_EQ(client.list("&&/x/L/7"), Entries{"5"});
}

TEST_F(UpdateResource, MarkedStringsAreStoredRaw) {
    EXPECT_EQ(merged({"1"}, {"&&Foo bar", "&&Foo"}, configuration(2)),
              (Entries{"&&Foo bar", "\"&&Foo\""}));
}

TEST_F(UpdateResource, InvalidUtf8LeavesItsSlot) {
    EXPECT_EQ(merged({"1", "2"}, {"\xff", 3}, configuration(1)), (Entries{"1", "3"}));
}

TEST_F(UpdateResource, AScalarAtTheTopChangesNothing) {
    client.command("HSET", "/x", "N", "1");
    EXPECT_EQ(updateResource(context(), "/x", 5, nullptr), 0);
    (void)errorsOf([&] { EXPECT_EQ(updateResource(context(), "/x", 5, configuration(1)), 0); });
    EXPECT_EQ(client.hash("/x").size(), 1U);
}

TEST_F(UpdateResource, ALostServerLeavesQuietly) {
    server.stop();
    EXPECT_NE(
        errorsOf([&] {
            EXPECT_EQ(updateResource(context(), "/x", {{"L", {1}}}, configuration(1, 2, true)), 0);
        }),
        "");
}
