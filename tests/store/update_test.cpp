// Merging a document into a stored resource.

#include "store/replaced_members.h"
#include "store/resource_store.h"
#include "store/update_tree.h"
#include "tests/store/store_fixture.h"

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <limits>

using nlohmann::json;
using Entries = std::vector<std::string>;

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

TEST_F(UpdateResource, MembersOfObjectsAreWrittenOneByOne) {
    setCounter("4");
    const json change =
        json::parse(R"({"A":1,"&&Raw":"r w","&&Drop":2,"Link":{"@odata.id":"/y"},"O":{"N":"n"}})");
    EXPECT_EQ(
        commandsOf([&] { EXPECT_EQ(updateResource(context(), "/x", change, arrayStyle(1)), 0); }),
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
    EXPECT_EQ(commandsOf(
                  [&] { EXPECT_EQ(updateResource(context(), "/x", change, arrayStyle(1, 5)), 0); }),
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

TEST_F(UpdateResource, AMaximumBelowTheCurrentLengthSkipsTheList) {
    for (const int number : {1, 3}) {
        storeList({"7", "8", "9"});
        const std::string errors = errorsOf([&] {
            EXPECT_EQ(
                updateResource(context(), "/x", {{"L", {1}}, {"N", 5}}, arrayStyle(number, 2)), 0);
        });
        EXPECT_NE(errors.find("[ERROR] Input Max array size is smaller than current size. Skips "
                              "update action. Resource=&&/x/L\n"),
                  std::string::npos);
        EXPECT_EQ(client.list("&&/x/L"), (Entries{"7", "8", "9"}));
        EXPECT_EQ(client.hash("/x")["N"], "5");
    }
}

TEST_F(UpdateResource, AStoredReferenceIsNotReplacedByTheSame) {
    setCounter("20");
    storeList({"&&ObjectRef /y", "2"});
    const json same = {{"@odata.id", "/y"}};
    EXPECT_EQ(commandsOf([&] {
                  EXPECT_EQ(updateResource(context(), "/x", {{"L", {same, 3}}}, arrayStyle(1)), 0);
              }),
              "INCR Array-Member-Sequence-ID\n"
              "HSET /x \"&&Array L &&/x/L\" \"\"\n"
              "LRANGE &&/x/L 0 -1\n"
              "LSET &&/x/L 1 3\n");
    EXPECT_EQ(client.list("&&/x/L"), (Entries{"&&ObjectRef /y", "3"}));
}

TEST_F(UpdateResource, UpdatesOfReferencesLeaveNoKeysBehind) {
    json references = json::array();
    for (int i = 0; i < 20; ++i) {
        references.push_back({{"@odata.id", "/y/" + std::to_string(i)}});
    }
    storeList({});
    (void)errorsOf([&] {
        for (int i = 0; i < 50; ++i) {
            EXPECT_EQ(updateResource(context(), "/x", {{"L", references}}, arrayStyle(2)), 0);
        }
    });
    // The resource, its list, the counter, and a hash for each reference that was appended.
    EXPECT_EQ(client.keys().size(), 23U);
}

TEST_F(UpdateResource, AScalarAtTheTopChangesNothing) {
    client.command("HSET", "/x", "N", "1");
    EXPECT_EQ(updateResource(context(), "/x", 5, nullptr), 0);
    (void)errorsOf([&] { EXPECT_EQ(updateResource(context(), "/x", 5, arrayStyle(1)), 0); });
    EXPECT_EQ(client.hash("/x").size(), 1U);
}

TEST_F(UpdateResource, AnObjectWithoutMembersFillsTheListBelow) {
    client.command("RPUSH", "&&/x/L/8", "1");
    const json update = json::array({json::object()});
    EXPECT_EQ(merged({"&&Array &&/x/L/8"}, update, arrayStyle(1, 2, true)),
              (Entries{"&&Array &&/x/L/8", "null"}));
    EXPECT_EQ(client.list("&&/x/L/8"), (Entries{"1", "null"}));
}

TEST_F(UpdateResource, InvalidUtf8LeavesItsSlot) {
    EXPECT_EQ(merged({"1", "2"}, {"\xff", 3}, arrayStyle(1)), (Entries{"1", "3"}));
}

TEST_F(UpdateResource, AMergedObjectKeepsItsOtherMembers) {
    client.command("HSET", "&&/x/L/7", "N", "1");
    (void)merged({"&&Object &&/x/L/7"}, {{{"M", 2}}}, arrayStyle(1));
    EXPECT_EQ(client.hash("&&/x/L/7"),
              (std::map<std::string, std::string>{{"M", "2"}, {"N", "1"}}));
}

TEST_F(UpdateResource, LogsItsConfigurationAndTakesStyleZeroForNone) {
    storeList({"1", "2"});
    const auto update = [&](const json& configuration) {
        return errorsOf([&] {
            EXPECT_EQ(updateResource(context(), "/x", {{"L", {9}}}, configuration), 0);
        });
    };
    EXPECT_EQ(update(arrayStyle(0)),
              "[INFO] Input Array style =0, maxSize=0, fill null element=0\n");
    EXPECT_EQ(client.list("&&/x/L"), Entries{"9"});
    EXPECT_EQ(update(arrayStyle(3, 2.5, true)),
              "[INFO] Input Array style =3, maxSize=2.5, fill null element=1\n");
}

TEST_F(UpdateResource, RefusesAConfigurationWithoutEveryMemberOfItsType) {
    for (const char* configuration :
         {R"({"ArrayStyle":1,"ArrayMaxSize":0})", R"({"ArrayStyle":1,"ArrayNullElement":true})",
          R"({"ArrayMaxSize":1,"ArrayNullElement":true})", R"({})", R"("text")",
          R"({"ArrayStyle":"1","ArrayMaxSize":0,"ArrayNullElement":true})",
          R"({"ArrayStyle":1,"ArrayMaxSize":"0","ArrayNullElement":true})",
          R"({"ArrayStyle":1,"ArrayMaxSize":0,"ArrayNullElement":1})"}) {
        EXPECT_EQ(refusal(json::parse(configuration)),
                  "[ERROR] Reads array configuration failed!\n")
            << configuration;
    }
    EXPECT_TRUE(client.keys().empty());
}

TEST_F(UpdateResource, RefusesAStyleThatIsNoneOfTheFour) {
    for (const json& number :
         {json(4), json(-1), json(1e300), json(-1e300), json(UINT64_MAX), json(std::nan(""))}) {
        json configuration = arrayStyle(0);
        configuration["ArrayStyle"] = number;
        EXPECT_EQ(refusal(configuration), "[ERROR] Array style is incorrect.\n") << number;
    }
    EXPECT_TRUE(client.keys().empty());
    std::int64_t id = 1;
    EXPECT_EQ(updateResourceTree(context(), "/x", {{"N", 1}}, id, arrayStyle(4)), -9);
}

// The rules compare with the maximum as it is given; the store compares with two whole numbers.
TEST_F(UpdateResource, AMaximumInWholeEntriesComparesAsTheGivenOne) {
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double given : {-infinity, -1.0, -0.0, 0.0, std::nan("")}) {
        EXPECT_FALSE(arrayMaximum(given)) << given;
    }
    for (const double given :
         {5e-324, 0.1, 0.5, std::nextafter(1.0, 0.0), 1.0, std::nextafter(1.0, 2.0), 2.5, 3.0,
          4.999999, 1e9, 2147483648.5, 0x1p53, 0x1p62, 0x1p63, 0x1p64, 1e300, DBL_MAX, infinity}) {
        const auto maximum = arrayMaximum(given);
        ASSERT_TRUE(maximum) << given;
        for (const std::size_t count : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 999999999U, 1000000000U,
                                        2147483648U, 2147483649U, 4294967295U}) {
            const auto number = static_cast<double>(count);
            EXPECT_EQ(count <= maximum->longest, number <= given) << count << ", " << given;
            EXPECT_EQ(count < maximum->slots, number < given) << count << ", " << given;
            for (const std::size_t deleted : {0U, 1U, 2U, 1000U}) {
                // Without the rounding of a double's last digit.
                const long double allowed =
                    static_cast<long double>(given) + static_cast<long double>(deleted);
                const bool isExact = given > 1e-9 || deleted == 0;
                EXPECT_TRUE(!isExact || (deleted + maximum->slots <= count) == (allowed <= number))
                    << count << ", " << deleted << ", " << given;
            }
        }
    }
}

// One update of the list below member L. Element keys start at 21; "&&/x/L/7" and "&&/x/L/8" hold
// {"N":1}, "&&/x/L/9" holds [1,2,3] and
// "/y" something of its own.
struct ListUpdate {
    const char* name;
    Entries stored;
    const char* update;
    json configuration;
    Entries merged;
    const char* keysBelow = "7 8 9"; // of the nested keys, those that are there afterwards
};

void PrintTo(const ListUpdate& row, std::ostream* stream) {
    *stream << row.name;
}

class ListUpdates : public UpdateResource, public testing::WithParamInterface<ListUpdate> {
protected:
    std::string keysBelow() {
        std::string names;
        for (const std::string& key : client.keys()) {
            if (key.starts_with("&&/x/L/")) {
                names += (names.empty() ? "" : " ") + key.substr(7);
            }
        }
        return names;
    }
};

TEST_P(ListUpdates, FollowTheRules) {
    setCounter("20");
    client.command("HSET", "&&/x/L/7", "N", "1");
    client.command("HSET", "&&/x/L/8", "N", "1");
    client.command("RPUSH", "&&/x/L/9", "1", "2", "3");
    client.command("HSET", "/y", "N", "1");
    const auto& [name, stored, update, configuration, expected, below] = GetParam();
    EXPECT_EQ(merged(stored, json::parse(update), configuration), expected);
    EXPECT_EQ(keysBelow(), below);
    EXPECT_EQ(client.hash("/y").size(), 1U);
}

const Entries NO_ENTRIES;
const char OBJECT_7[] = "&&Object &&/x/L/7";
const char OBJECT_8[] = "&&Object &&/x/L/8";
const char ARRAY_9[] = "&&Array &&/x/L/9";

// clang-format off
INSTANTIATE_TEST_SUITE_P(OneList, ListUpdates, testing::ValuesIn(std::vector<ListUpdate>{
    {"AnEmptyArrayLeavesTheListInStyle1",       {"1", "2"},      "[]",           arrayStyle(1),          {"1", "2"}},
    {"AnEmptyArrayLeavesTheListInStyle2",       {"1", "2"},      "[]",           arrayStyle(2),          {"1", "2"}},
    {"AnEmptyArrayLeavesTheListInStyle3",       {"1", "2"},      "[]",           arrayStyle(3),          {"1", "2"}},
    {"AnEmptyArrayIsFilledWithNull",            {"1"},           "[]",           arrayStyle(1, 3, true), {"1", "null", "null"}},
    {"Style3KeepsSlotsAsNull",                  {"7", "8", "9"}, "[1,null]",     arrayStyle(3, 4),       {"1", "null", "null"}},
    {"Style3KeepsSlotsAndFillsUp",              {"7", "8", "9"}, "[1,null]",     arrayStyle(3, 4, true), {"1", "null", "null", "null"}},
    {"AListAsLongAsItsMaximumIsMerged",         {"7", "8"},      "[1]",          arrayStyle(3, 2),          {"1", "null"}},
    {"Style3KeepsSlotsWithoutAMaximum",         {"7", "8", "9"}, "[1,null]",     arrayStyle(3),          {"1", "null", "null"}},
    {"Style1ClosesUpBehindANull",               {"7", "8", "9"}, "[1,null,3]",   arrayStyle(1),          {"1", "3"}},
    {"Style1DeletesWhatIsBeyondTheNew",         {"7", "8", "9"}, "[1]",          arrayStyle(1),          {"1"}},
    {"DeletedSlotsMakeRoomForMore",             {"7", "8", "9"}, "[null,null,3,4]", arrayStyle(1),       {"3", "4"}},
    {"Style2TakesTheNewLength",                 {"7", "8", "9"}, "[1]",          arrayStyle(2),          {"1"}},
    {"Style2WithoutAMaximumFillsNothing",       {"7"},           "[1,2,3]",      arrayStyle(2, 0, true), {"1", "2", "3"}},
    {"Style2MayShrinkToItsMaximum",             {"7", "8", "9"}, "[1,2,3]",      arrayStyle(2, 2),       {"1", "2"}},
    {"Style2DeletesANull",                      {"7", "8", "9"}, "[1,null,3]",   arrayStyle(2),          {"1", "3"}},
    {"WithoutAMaximumNothingIsAppended",        {"7"},           "[1,2,3]",      arrayStyle(1),          {"1"}},
    {"WithoutAMaximumAnEmptyListStaysEmpty",    NO_ENTRIES,      "[1]",          arrayStyle(1),          NO_ENTRIES},
    {"Style2StartsAList",                       NO_ENTRIES,      "[1]",          arrayStyle(2),          {"1"}},
    {"ElementsBeyondTheMaximumAreLost",         {"7"},           "[1,2,3,4]",    arrayStyle(1, 3),       {"1", "2", "3"}},
    {"AFractionOfAMaximumAllowsOneMore",        {"7"},           "[1,2,3,4]",    arrayStyle(1, 2.5),     {"1", "2", "3"}},
    {"AnOverflowedListIsNotFilled",             {"7"},           "[1,null,3,4]", arrayStyle(3, 2, true), {"1", "null"}},
    {"ANestedListFollowsTheSameRules",          {ARRAY_9},       "[[null,5]]",   arrayStyle(1),          {ARRAY_9}},
    {"MarkedStringsAreStoredRaw",               {"1"},           R"(["&&Foo bar","&&Foo"])", arrayStyle(2), {"&&Foo bar", "\"&&Foo\""}},
    {"AScalarFillsANullSlot",                   {"null"},        "[7]",          arrayStyle(3),          {"7"}},
    {"AnObjectFillsANullSlot",                  {"null", "2"},   R"([{"N":1},5])", arrayStyle(3),        {"&&Object &&/x/L/21", "5"}, "21 7 8 9"},
    {"AnAppendedReferenceIsAMarkerAndAHash",    NO_ENTRIES,      R"([{"@odata.id":"/y"}])", arrayStyle(2), {"&&ObjectRef /y"}, "21 7 8 9"},
    {"AReferenceIsReplacedByAnother",           {"&&ObjectRef /y"}, R"([{"@odata.id":"/z"}])", arrayStyle(1), {"&&ObjectRef /z"}, "21 7 8 9"},
    {"AReferenceIsNotReplacedByTheSame",        {"&&ObjectRef /y"}, R"([{"@odata.id":"/y"}])", arrayStyle(1), {"&&ObjectRef /y"}},
    {"AnObjectIsMergedIntoTheStoredOne",        {OBJECT_7},      R"([{"M":2}])", arrayStyle(1),          {OBJECT_7}},
    {"AnObjectReplacesAScalar",                 {"\"two words\""}, R"([{"N":1}])", arrayStyle(1),        {"&&Object &&/x/L/21"}, "21 7 8 9"},
    {"AScalarReplacesAMarkerAndLeavesItsHash",  {OBJECT_7},      "[5]",          arrayStyle(1),          {"5"}},
    {"WhatDeletedElementsHeldGoesWithThem",     {OBJECT_7, OBJECT_8}, "[null]",  arrayStyle(1),          NO_ENTRIES, "9"},
    {"WhatANulledElementHeldGoesWithIt",        {"1", OBJECT_8}, "[2]",          arrayStyle(3),          {"2", "null"}, "7 9"},
    {"AnObjectWithoutMembersLeavesItsSlot",     {OBJECT_7, "2"}, "[{},3]",       arrayStyle(1),          {OBJECT_7, "3"}},
    {"AnObjectWithoutMembersBehindTheEndIsOne", NO_ENTRIES,      "[{}]",         arrayStyle(2),          {"&&Object &&/x/L/21"}},
}), [](const auto& row) { return std::string(row.param.name); });
// clang-format on
