// How often the store waits for the server: the commands of one level, or of one document, go out
// together. The server counts how often it has read from a connection.

#include "store/resource_store.h"
#include "tests/store/store_fixture.h"

using nlohmann::json;

namespace {

// Three levels of keys, with several keys on the second and the third.
const json DOCUMENT = json::parse(
    R"({"A":{"N":1},"B":[{"N":1},{"N":2},[3]],"C":{"D":{"N":1},"E":[1,2]},"S":"text"})");
const json WITHOUT_ELEMENTS = {{"A", 1}, {"B", {{"C", 2}}}};

int readAt(const std::string& uri, redisContext* context) {
    json value;
    return getResource(context, uri, value);
}

} // namespace

class Exchanges : public StoreFixture {
protected:
    Exchanges() {
        EXPECT_EQ(writeResource(context(), "/x", DOCUMENT), STORE_OK);
    }
};

TEST_F(Exchanges, AReadCostsOneForTheTypeAndOneForEachLevel) {
    EXPECT_EQ(exchangesOf([&] { EXPECT_EQ(readAt("/x", context()), STORE_OK); }), 4);
    EXPECT_EQ(exchangesOf([&] { EXPECT_NE(readAt("/no", context()), STORE_OK); }), 1);
}

TEST_F(Exchanges, ARemovalCostsOneMoreThanAReadForAllKeys) {
    EXPECT_EQ(exchangesOf([&] { (void)removeResource(context(), "/x", true, true); }), 5);
}

TEST_F(Exchanges, ARemovalOfTheTopAloneReadsNoLevel) {
    EXPECT_EQ(exchangesOf([&] { (void)removeResource(context(), "/x", false, true); }), 2);
}

// The type, the counter, the document unless it is empty, the counter again when ids were taken.
TEST_F(Exchanges, AWholeDocumentIsWrittenInOne) {
    EXPECT_EQ(exchangesOf([&] { (void)writeResource(context(), "/y", DOCUMENT); }), 4);
    EXPECT_EQ(exchangesOf([&] { (void)writeResource(context(), "/z", WITHOUT_ELEMENTS); }), 3);
    EXPECT_EQ(exchangesOf([&] { (void)writeResource(context(), "/e", json::object()); }), 2);
}

TEST_F(Exchanges, AnUpdateWithoutConfigurationWritesInOne) {
    EXPECT_EQ(
        exchangesOf([&] { (void)updateResource(context(), "/x", WITHOUT_ELEMENTS, nullptr); }), 2);
}

// INCR, HSET of the marker, LRANGE, and one for each element.
TEST_F(Exchanges, AnUpdateWithConfigurationSendsEachCommandByItself) {
    EXPECT_EQ(exchangesOf([&] {
                  (void)updateResource(context(), "/y", {{"L", {1, 2, 3}}}, arrayStyle(2));
              }),
              6);
}

// INCR, HSET, LRANGE, LLEN, and all RPUSH commands.
TEST_F(Exchanges, NullFillingTakesOne) {
    EXPECT_EQ(
        exchangesOf([&] {
            (void)updateResource(context(), "/y", {{"L", json::array()}}, arrayStyle(1, 100, true));
        }),
        5);
    EXPECT_EQ(client.list("&&/y/L"), std::vector<std::string>(100, "null"));
}
