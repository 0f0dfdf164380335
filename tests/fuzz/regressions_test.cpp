// What fuzz targets once found, by what it broke.

#include "store/resource_store.h"
#include "tests/store/store_fixture.h"

using nlohmann::json;
using Entries = std::vector<std::string>;

class FuzzRegression : public StoreFixture {};

// Target array_updates: blanks before a keyword were skipped, so an update that dropped the entry
// removed a resource that it did not name.
TEST_F(FuzzRegression, ADroppedEntryThatBeginsWithABlankTakesNoResourceWithIt) {
    client.command("RPUSH", "/u", "1", " &&Object k");
    client.command("HSET", "k", "Name", "\"kept\"");
    const json configuration = arrayStyle(1);
    ASSERT_EQ(updateResource(context(), "/u", {1}, configuration), STORE_OK);
    EXPECT_EQ(client.list("/u"), Entries{"1"});
    EXPECT_EQ(client.hash("k"), (std::map<std::string, std::string>{{"Name", "\"kept\""}}));
}

// Target array_updates: a key that two markers name, as an object and as an array, was walked as
// whichever field Redis gave first, and what was below it stayed for ever.
TEST_F(FuzzRegression, AKeyNamedAsObjectAndAsArrayLeavesNothingBehind) {
    const json configuration = arrayStyle(3, 4, true);
    ASSERT_EQ(writeResource(context(), "/u", json::parse(R"({"A":{"n":{"n":2}}})")), STORE_OK);
    const json array = {{"A", {nullptr, nullptr, 5}}};
    ASSERT_EQ(updateResource(context(), "/u", array, configuration), STORE_OK);
    json value;
    EXPECT_EQ(getResource(context(), "/u", value), STORE_OK);
    for (const Entries& order : {Entries{"&&Object A &&/u/A", "&&Array A &&/u/A"},
                                 Entries{"&&Array A &&/u/A", "&&Object A &&/u/A"}}) {
        client.command("DEL", "/u");
        client.command("HSET", "/u", order[0], "", order[1], "");
        client.command("HSET", "&&/u/A", "&&Object n &&/u/A/n", "");
        client.command("HSET", "&&/u/A/n", "n", "2");
        ASSERT_EQ(updateResource(context(), "/u", json::array(), nullptr), STORE_OK);
        EXPECT_EQ(client.keys(), Entries{"Array-Member-Sequence-ID"});
    }
}
