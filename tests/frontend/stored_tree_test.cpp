// Reading resources for showing.

#include "frontend/exchange/stored_tree.h"
#include "tests/frontend/front_end_errors.h"
#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"
#include "tests/support/request.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;

class StoredTree : public testing::Test {
protected:
    RedisServer server;
    RedisClient client{server};
};

TEST_F(StoredTree, TheDocumentIsTheOneThatWasStored) {
    const json document = {{"@odata.id", "/x"},
                           {"Text", "two\nlines, a \"quote\" and a \\"},
                           {"Number", 7},
                           {"Real", 1.5},
                           {"Nothing", nullptr},
                           {"Link", {{"@odata.id", "/y"}}},
                           {"Empty", json::object()},
                           {"Nested", {{"List", {1, "two", {{"a", 3}}, json::array({4})}}}}};
    storeResource(client, "/x", document.dump());
    EXPECT_EQ(readDocument(client.context(), "/x"), document);
}

TEST_F(StoredTree, EveryRecordIsListedOnceTopFirst) {
    storeResource(client, "/x", R"({"A": {"B": {"C": 1}}, "L": [{"D": 2}, "t"]})");
    std::vector<std::string> keys;
    for (const StoredRecord& record : readStoredTree(client.context(), "/x")) {
        keys.push_back(record.key + (record.isList ? " list" : " hash"));
    }
    const std::vector<std::string> expected = {"/x hash", "&&/x/L list", "&&/x/A hash",
                                               "&&/x/L/1 hash", "&&/x/A/B hash"};
    EXPECT_EQ(keys, expected);
}

TEST_F(StoredTree, ThereIsNoDocumentWhereNothingIsStored) {
    client.command("SET", "/text", "a");
    EXPECT_TRUE(readDocument(client.context(), "/none").is_null());
    EXPECT_TRUE(readDocument(client.context(), "/text").is_null());
}

TEST_F(StoredTree, ALoopEndsWhereItBegins) {
    client.command("HSET", "/x", "&&Object A &&/x/A", "", "N", "1");
    client.command("HSET", "&&/x/A", "&&Object B /x", "", "&&Array C &&/x/C", "");
    client.command("RPUSH", "&&/x/C", "&&Array &&/x/C", "&&Object &&/x/A");
    const json expected = {{"A", {{"B", json::object()}, {"C", {json::array(), json::object()}}}},
                           {"N", 1}};
    EXPECT_EQ(readDocument(client.context(), "/x"), expected);
}

TEST_F(StoredTree, ATreeNestedTooDeeplyIsNotShown) {
    for (int i = 0; i < 600; ++i) {
        client.command("HSET", "/" + std::to_string(i), "&&Object N /" + std::to_string(i + 1), "");
    }
    const auto tree = readStoredTree(client.context(), "/0");
    EXPECT_EQ(tree.size(), 600U);
    const FrontEndError error = errorOf([&] { (void)treeDocument(tree); });
    EXPECT_STREQ(error.what(), "The resource is nested too deeply to be shown.");
    EXPECT_EQ(error.kind, FailureKind::TOO_LARGE);
}

TEST_F(StoredTree, ClientsSeeNothingOfTheServicesOwn) {
    const json document = {{"&&Secret", "x"},
                           {"A", {{"&&B", "y"}, {"C", json::array({{{"&&D", "z"}, {"E", 1}}})}}},
                           {"Text", "&&Object a b"},
                           {"List", {"&&x", "&x", json::array({"&&y", 2})}}};
    const json expected = {{"A", {{"C", json::array({{{"E", 1}}})}}},
                           {"List", {"&x", json::array({2})}}};
    EXPECT_EQ(clientView(document), expected);
}

TEST_F(StoredTree, ATreeIsRemovedWhole) {
    storeResource(client, "/x", R"({"A": {"B": {"C": 1}}, "L": [{"D": 2}, "t"]})");
    client.command("DEL", "Array-Member-Sequence-ID");
    client.command("SET", "/other", "1");
    removeStoredTree(client.context(), "/x");
    removeStoredTree(client.context(), "/none");
    EXPECT_EQ(client.keys(), std::vector<std::string>{"/other"});
}

} // namespace
