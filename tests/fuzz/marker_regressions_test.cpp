// Texts that were once taken for markers and are none.

#include "store/markers.h"
#include "store/resource_store.h"
#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

// Found by the target markers: blanks before the keyword were skipped like those behind it.
TEST(MarkerRegressions, AnEntryThatBeginsWithABlankNamesNoNestedKey) {
    EXPECT_EQ(nestedKeyOf(" &&Array 3 "), "");
    EXPECT_EQ(nestedKeyOf(" &&Object k"), "");
    EXPECT_EQ(nestedKeyOf("&&Object k"), "k");
}

// Found by the target array_updates: because of the same blank, an update that dropped the entry
// removed a resource that it did not name.
TEST(MarkerRegressions, ADroppedEntryThatBeginsWithABlankTakesNoResourceWithIt) {
    const RedisServer server;
    RedisClient client(server);
    client.command("RPUSH", "/u", "1", " &&Object k");
    client.command("HSET", "k", "Name", "\"kept\"");
    const nlohmann::json configuration = {
        {"ArrayStyle", 1}, {"ArrayMaxSize", 0}, {"ArrayNullElement", false}};
    ASSERT_EQ(updateResource(client.context(), "/u", {1}, configuration), STORE_OK);
    EXPECT_EQ(client.list("/u"), std::vector<std::string>{"1"});
    EXPECT_EQ(client.hash("k"), (std::map<std::string, std::string>{{"Name", "\"kept\""}}));
}

} // namespace
